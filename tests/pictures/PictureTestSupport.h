// Support for the picture, explain and progress tests: the SVG that vexil-cook writes, read with
// libxml2, and PNG header sizes.
#pragma once

#include "CookRunner.h"

#include <Imath/ImathVec.h>

#include <map>
#include <string>
#include <vector>

namespace VexilPictureTest {

using VexilTest::readFile;
using VexilTest::runCook;
using VexilTest::RunOptions;
using VexilTest::RunResult;
using VexilTest::ScratchFolder;

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

/// The elements of an SVG document in order (groups included); throws when it is not well-formed XML.
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

} // namespace VexilPictureTest
