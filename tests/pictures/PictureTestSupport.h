// Support for the picture, explain and progress tests: a scratch folder, a reader of the SVG that
// vexil-cook writes, PNG header sizes, and runs of vexil-cook with standard error on a terminal.
#pragma once

#include <Imath/ImathVec.h>

#include <map>
#include <string>
#include <vector>

namespace VexilPictureTest {

/// A fresh folder, removed with the object.
class Scratch {
public:
    Scratch();
    ~Scratch();
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;
    /// Writes `text` to `name` in the folder and returns its path.
    std::string write(const std::string& name, const std::string& text) const;
    std::string path(const std::string& name) const { return m_path + "/" + name; }

private:
    std::string m_path;
};

/// The content of a file ("" when it cannot be read).
std::string readFile(const std::string& path);

/// One element of an SVG document with its attributes, its text, and what its enclosing groups say:
/// `context` merges the attributes of every enclosing <g> (the innermost wins), and `groupClasses`
/// lists their classes, outermost first.
struct SvgElement {
    std::string tag;
    std::map<std::string, std::string> attributes;
    std::string text;
    std::map<std::string, std::string> context;
    std::vector<std::string> groupClasses;

    std::string attr(const std::string& name) const;
    double number(const std::string& name) const;
    bool inGroup(const std::string& className) const;
};

/// The elements of an SVG document in order (groups included); throws on text it cannot read.
std::vector<SvgElement> parseSvg(const std::string& document);

/// The elements with tag `tag` and class `className` whose context matches every (name, value) of
/// `context`.
std::vector<const SvgElement*> select(const std::vector<SvgElement>& elements, const std::string& tag,
                                      const std::string& className,
                                      const std::map<std::string, std::string>& context = {});

/// The pixel position of the main tripod's origin of location `path` in state `state` ("before" or
/// "after") in view `view`; throws when there is not exactly one.
Imath::V2d tripodOrigin(const std::vector<SvgElement>& elements, const std::string& view,
                        const std::string& path, const std::string& state = "after");

/// The width and height in a PNG file's header; false when the file is not a PNG.
bool pngSize(const std::string& path, int& width, int& height);

/// What one run gave: the exit status, standard output, and standard error.
struct RunResult {
    int status = -1;
    std::string out;
    std::string err;
};

/// Runs vexil-cook with `arguments`, without VEXIL_PLUGIN_PATH in its environment (so the build's
/// plug-in folder is searched); standard error goes to a pseudo-terminal when `stderrOnTerminal`,
/// else to a file.
RunResult runCook(const std::vector<std::string>& arguments, bool stderrOnTerminal = false);

} // namespace VexilPictureTest
