// A canvas that writes SVG text: one element per line, groups as <g> with a class and data attributes,
// so that pictures can be checked structurally.
#pragma once

#include "tools/views/Canvas.h"

#include <sstream>
#include <string>

namespace VexilHost {
namespace Picture {

/// Collects an SVG document of `width` × `height` pixels; text() returns it once finished.
class SvgCanvas : public Canvas {
public:
    SvgCanvas(int width, int height);

    void beginGroup(const std::string& className, const ElementAttributes& attributes,
                    double opacity) override;
    void endGroup() override;
    void beginClip(const PixelRect& rect, const std::string& id) override;
    void endClip() override;
    void segments(const std::vector<Segment2>& segments, const Pen& pen, const std::string& className,
                  const ElementAttributes& attributes) override;
    void polyline(const std::vector<Imath::V2d>& points, const Pen& pen,
                  const std::string& className) override;
    void disc(const Imath::V2d& centre, double radius, const Colour& fill,
              const std::string& className) override;
    void rectangle(const PixelRect& rect, const Pen* pen, const Colour* fill,
                   const std::string& className) override;
    void text(const Imath::V2d& at, const std::string& text, const TextStyle& style,
              const std::string& className, const ElementAttributes& attributes) override;

    /// The whole document (closes it on the first call).
    std::string document();

private:
    void indent();

    std::ostringstream m_out;
    int m_depth = 1;
    bool m_closed = false;
};

/// `text` with &, <, >, " and ' escaped for XML.
std::string xmlEscape(const std::string& text);

/// A pixel coordinate as SVG writes it: at most two decimals, no trailing zeros ("12.5", "-3", "0").
std::string pixelText(double value);

} // namespace Picture
} // namespace VexilHost
