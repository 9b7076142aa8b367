// The drawing surface of scene pictures: a few primitives in pixel space, with groups that carry a
// class name and attributes. Two canvases implement it: SVG text and a cairo image (PNG).
#pragma once

#include <Imath/ImathVec.h>

#include <string>
#include <utility>
#include <vector>

namespace VexilHost {
namespace Picture {

/// An RGB colour, each channel 0 to 1.
struct Colour {
    double r = 0.0;
    double g = 0.0;
    double b = 0.0;
};

/// How a line is stroked: colour, width in pixels, and its dash pattern.
struct Pen {
    enum class Pattern { Solid, Dashed, Dotted };
    Colour colour;
    double width = 1.0;
    Pattern pattern = Pattern::Solid;
};

/// An axis-aligned rectangle in pixels (y down).
struct PixelRect {
    double x = 0.0;
    double y = 0.0;
    double width = 0.0;
    double height = 0.0;
};

/// A line segment in pixels.
using Segment2 = std::pair<Imath::V2d, Imath::V2d>;

/// Extra attributes of an element or group (name, value), written as they are to SVG.
using ElementAttributes = std::vector<std::pair<std::string, std::string>>;

/// Text placement and look.
struct TextStyle {
    enum class Anchor { Start, Middle };
    Colour colour;
    double size = 12.0; ///< pixels
    bool bold = false;
    Anchor anchor = Anchor::Start;
};

/// A drawing surface of a fixed size in pixels, origin at the top left, y down.
class Canvas {
public:
    virtual ~Canvas() = default;

    /// Starts a group of elements, named by `className`, drawn as a whole with `opacity` (0 to 1).
    virtual void beginGroup(const std::string& className, const ElementAttributes& attributes,
                            double opacity = 1.0) = 0;
    /// Ends the innermost group.
    virtual void endGroup() = 0;
    /// Restricts what is drawn until endClip to `rect`; `id` names the clip region (unique per picture).
    virtual void beginClip(const PixelRect& rect, const std::string& id) = 0;
    /// Ends the innermost clip region.
    virtual void endClip() = 0;
    /// Strokes the segments as one element of class `className` (nothing for no segments).
    virtual void segments(const std::vector<Segment2>& segments, const Pen& pen, const std::string& className,
                          const ElementAttributes& attributes = {}) = 0;
    /// Strokes an open polyline through `points` (two or more).
    virtual void polyline(const std::vector<Imath::V2d>& points, const Pen& pen,
                          const std::string& className) = 0;
    /// Fills a disc of `radius` pixels around `centre`.
    virtual void disc(const Imath::V2d& centre, double radius, const Colour& fill,
                      const std::string& className) = 0;
    /// Fills `rect` with `fill` (when given) and strokes it with `pen` (when given).
    virtual void rectangle(const PixelRect& rect, const Pen* pen, const Colour* fill,
                           const std::string& className) = 0;
    /// Draws one line of text whose baseline starts (or is centred, by the style's anchor) at `at`.
    virtual void text(const Imath::V2d& at, const std::string& text, const TextStyle& style,
                      const std::string& className, const ElementAttributes& attributes = {}) = 0;
};

} // namespace Picture
} // namespace VexilHost
