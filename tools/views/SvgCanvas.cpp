#include "tools/views/SvgCanvas.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace VexilHost {
namespace Picture {

namespace {

std::string colourText(const Colour& colour) {
    auto channel = [](double v) {
        return static_cast<int>(std::lround(std::clamp(v, 0.0, 1.0) * 255.0));
    };
    char text[8];
    std::snprintf(text, sizeof text, "#%02x%02x%02x", channel(colour.r), channel(colour.g),
                  channel(colour.b));
    return text;
}

std::string strokeText(const Pen& pen) {
    std::string text = " stroke=\"" + colourText(pen.colour) + "\" stroke-width=\"" + pixelText(pen.width) +
                       "\" stroke-linecap=\"round\"";
    if (pen.pattern == Pen::Pattern::Dashed) {
        text += " stroke-dasharray=\"6 4\"";
    } else if (pen.pattern == Pen::Pattern::Dotted) {
        text += " stroke-dasharray=\"1.5 3\"";
    }
    return text;
}

std::string attributesText(const ElementAttributes& attributes) {
    std::string text;
    for (const auto& [name, value] : attributes) {
        text += " " + name + "=\"" + xmlEscape(value) + "\"";
    }
    return text;
}

std::string pointText(const Imath::V2d& p) {
    return pixelText(p.x) + "," + pixelText(p.y);
}

} // namespace

std::string xmlEscape(const std::string& text) {
    std::string out;
    out.reserve(text.size());
    for (char c : text) {
        switch (c) {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        case '"':
            out += "&quot;";
            break;
        case '\'':
            out += "&apos;";
            break;
        default:
            out += c;
        }
    }
    return out;
}

std::string pixelText(double value) {
    if (!std::isfinite(value)) {
        return "0";
    }
    char text[64];
    std::snprintf(text, sizeof text, "%.2f", value);
    std::string result = text;
    while (result.back() == '0') {
        result.pop_back();
    }
    if (result.back() == '.') {
        result.pop_back();
    }
    return result == "-0" ? "0" : result;
}

SvgCanvas::SvgCanvas(int width, int height) {
    m_out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
          << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << width << "\" height=\"" << height
          << "\" viewBox=\"0 0 " << width << " " << height
          << "\" font-family=\"DejaVu Sans, Verdana, sans-serif\">\n";
}

void SvgCanvas::indent() {
    for (int i = 0; i < m_depth; ++i) {
        m_out << "  ";
    }
}

void SvgCanvas::beginGroup(const std::string& className, const ElementAttributes& attributes,
                           double opacity) {
    indent();
    m_out << "<g class=\"" << xmlEscape(className) << "\"" << attributesText(attributes);
    if (opacity < 1.0) {
        m_out << " opacity=\"" << pixelText(opacity) << "\"";
    }
    m_out << ">\n";
    ++m_depth;
}

void SvgCanvas::endGroup() {
    --m_depth;
    indent();
    m_out << "</g>\n";
}

void SvgCanvas::beginClip(const PixelRect& rect, const std::string& id) {
    indent();
    m_out << "<clipPath id=\"" << xmlEscape(id) << "\"><rect x=\"" << pixelText(rect.x) << "\" y=\""
          << pixelText(rect.y) << "\" width=\"" << pixelText(rect.width) << "\" height=\""
          << pixelText(rect.height) << "\"/></clipPath>\n";
    indent();
    m_out << "<g clip-path=\"url(#" << xmlEscape(id) << ")\">\n";
    ++m_depth;
}

void SvgCanvas::endClip() {
    endGroup();
}

void SvgCanvas::segments(const std::vector<Segment2>& segments, const Pen& pen, const std::string& className,
                         const ElementAttributes& attributes) {
    if (segments.empty()) {
        return;
    }
    indent();
    if (segments.size() == 1) {
        const auto& [a, b] = segments.front();
        m_out << "<line class=\"" << xmlEscape(className) << "\"" << attributesText(attributes) << " x1=\""
              << pixelText(a.x) << "\" y1=\"" << pixelText(a.y) << "\" x2=\"" << pixelText(b.x) << "\" y2=\""
              << pixelText(b.y) << "\"" << strokeText(pen) << " fill=\"none\"/>\n";
        return;
    }
    m_out << "<path class=\"" << xmlEscape(className) << "\"" << attributesText(attributes) << " d=\"";
    bool first = true;
    for (const auto& [a, b] : segments) {
        m_out << (first ? "M" : " M") << pointText(a) << " L" << pointText(b);
        first = false;
    }
    m_out << "\"" << strokeText(pen) << " fill=\"none\"/>\n";
}

void SvgCanvas::polyline(const std::vector<Imath::V2d>& points, const Pen& pen,
                         const std::string& className) {
    if (points.size() < 2) {
        return;
    }
    indent();
    m_out << "<polyline class=\"" << xmlEscape(className) << "\" points=\"";
    for (size_t i = 0; i < points.size(); ++i) {
        m_out << (i ? " " : "") << pointText(points[i]);
    }
    m_out << "\"" << strokeText(pen) << " fill=\"none\"/>\n";
}

void SvgCanvas::disc(const Imath::V2d& centre, double radius, const Colour& fill,
                     const std::string& className) {
    indent();
    m_out << "<circle class=\"" << xmlEscape(className) << "\" cx=\"" << pixelText(centre.x) << "\" cy=\""
          << pixelText(centre.y) << "\" r=\"" << pixelText(radius) << "\" fill=\"" << colourText(fill)
          << "\"/>\n";
}

void SvgCanvas::rectangle(const PixelRect& rect, const Pen* pen, const Colour* fill,
                          const std::string& className) {
    indent();
    m_out << "<rect class=\"" << xmlEscape(className) << "\" x=\"" << pixelText(rect.x) << "\" y=\""
          << pixelText(rect.y) << "\" width=\"" << pixelText(rect.width) << "\" height=\""
          << pixelText(rect.height) << "\"";
    if (pen) {
        m_out << strokeText(*pen);
    }
    m_out << " fill=\"" << (fill ? colourText(*fill) : std::string("none")) << "\"";
    m_out << "/>\n";
}

void SvgCanvas::text(const Imath::V2d& at, const std::string& text, const TextStyle& style,
                     const std::string& className, const ElementAttributes& attributes) {
    indent();
    m_out << "<text class=\"" << xmlEscape(className) << "\"" << attributesText(attributes) << " x=\""
          << pixelText(at.x) << "\" y=\"" << pixelText(at.y) << "\" font-size=\"" << pixelText(style.size)
          << "\" fill=\"" << colourText(style.colour) << "\"";
    if (style.bold) {
        m_out << " font-weight=\"bold\"";
    }
    if (style.anchor == TextStyle::Anchor::Middle) {
        m_out << " text-anchor=\"middle\"";
    }
    m_out << ">" << xmlEscape(text) << "</text>\n";
}

std::string SvgCanvas::document() {
    if (!m_closed) {
        m_out << "</svg>\n";
        m_closed = true;
    }
    return m_out.str();
}

} // namespace Picture
} // namespace VexilHost
