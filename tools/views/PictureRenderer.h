// Draws a picture of a cooked scene onto a canvas: three orthographic views (top, front, side) and
// the view through a camera, with a legend of the key, errors and warnings below them.
#pragma once

#include "tools/views/Canvas.h"
#include "tools/views/PictureModel.h"

#include <stdexcept>
#include <string>
#include <vector>

namespace VexilHost {
namespace Picture {

/// Sizes of a picture, in pixels: four panels in two rows under a title bar, then the legend.
constexpr int kPanelWidth = 560;
constexpr int kPanelHeight = 420;
constexpr int kTitleHeight = 32;
constexpr int kLegendPadding = 10;
constexpr int kLegendLineHeight = 18;
/// Legend messages are wrapped at this many characters.
constexpr size_t kLegendColumns = 140;

/// What to draw besides the scene.
struct PictureOptions {
    /// Shown in the title bar (usually the scene file's name).
    std::string title;
    /// The camera of the camera view; empty for the first camera of the scene in tree order.
    std::string cameraPath;
};

/// A picture that cannot be drawn as asked (a --camera path that names no camera).
class PictureError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// One line of the legend.
struct LegendLine {
    enum class Kind { Key, Error, Warning, Note };
    Kind kind = Kind::Key;
    std::string text;
    /// The location the line is about (errors and warnings).
    std::string path;
};

/// The size and legend of a picture, and the camera of its camera view.
struct PictureLayout {
    int width = 0;
    int height = 0;
    std::vector<LegendLine> legend;
    /// Null when the scene has no camera.
    const DrawnLocation* camera = nullptr;
};

/// Lays a picture of `model` out: width 2 · kPanelWidth, height kTitleHeight + 2 · kPanelHeight +
/// 2 · kLegendPadding + kLegendLineHeight · (number of legend lines). Throws PictureError when
/// `options.cameraPath` is set and names no camera location.
PictureLayout layoutPicture(const PictureModel& model, const PictureOptions& options);

/// Draws `model` onto `canvas` (which must have the layout's size).
void drawPicture(const PictureModel& model, const PictureLayout& layout, const PictureOptions& options,
                 Canvas& canvas);

/// `text` broken into lines of at most `columns` characters at spaces (a longer word is cut).
std::vector<std::string> wrapText(const std::string& text, size_t columns);

} // namespace Picture
} // namespace VexilHost
