#include "tools/views/CairoCanvas.h"

#include <cairo.h>

#include <cerrno>
#include <cstring>
#include <fstream>

namespace VexilHost {
namespace Picture {

namespace {

void setColour(cairo_t* cairo, const Colour& colour) {
    cairo_set_source_rgb(cairo, colour.r, colour.g, colour.b);
}

} // namespace

CairoCanvas::CairoCanvas(int width, int height) {
    m_surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
    m_cairo = cairo_create(m_surface);
    cairo_set_source_rgb(m_cairo, 1.0, 1.0, 1.0);
    cairo_paint(m_cairo);
    cairo_set_line_cap(m_cairo, CAIRO_LINE_CAP_ROUND);
    cairo_set_line_join(m_cairo, CAIRO_LINE_JOIN_ROUND);
}

CairoCanvas::~CairoCanvas() {
    cairo_destroy(m_cairo);
    cairo_surface_destroy(m_surface);
}

void CairoCanvas::beginGroup(const std::string&, const ElementAttributes&, double opacity) {
    // A translucent group is drawn whole and then blended, so overlapping strokes do not darken.
    if (opacity < 1.0) {
        cairo_push_group(m_cairo);
    }
    m_groupOpacity.push_back(opacity);
}

void CairoCanvas::endGroup() {
    if (m_groupOpacity.empty()) {
        return;
    }
    const double opacity = m_groupOpacity.back();
    m_groupOpacity.pop_back();
    if (opacity < 1.0) {
        cairo_pop_group_to_source(m_cairo);
        cairo_paint_with_alpha(m_cairo, opacity);
    }
}

void CairoCanvas::beginClip(const PixelRect& rect, const std::string&) {
    cairo_save(m_cairo);
    cairo_rectangle(m_cairo, rect.x, rect.y, rect.width, rect.height);
    cairo_clip(m_cairo);
}

void CairoCanvas::endClip() {
    cairo_restore(m_cairo);
}

void CairoCanvas::stroke(const Pen& pen) {
    setColour(m_cairo, pen.colour);
    cairo_set_line_width(m_cairo, pen.width);
    if (pen.pattern == Pen::Pattern::Dashed) {
        const double dashes[] = {6.0, 4.0};
        cairo_set_dash(m_cairo, dashes, 2, 0.0);
    } else if (pen.pattern == Pen::Pattern::Dotted) {
        const double dashes[] = {1.5, 3.0};
        cairo_set_dash(m_cairo, dashes, 2, 0.0);
    } else {
        cairo_set_dash(m_cairo, nullptr, 0, 0.0);
    }
    cairo_stroke(m_cairo);
}

void CairoCanvas::segments(const std::vector<Segment2>& segments, const Pen& pen, const std::string&,
                           const ElementAttributes&) {
    if (segments.empty()) {
        return;
    }
    for (const auto& [a, b] : segments) {
        cairo_move_to(m_cairo, a.x, a.y);
        cairo_line_to(m_cairo, b.x, b.y);
    }
    stroke(pen);
}

void CairoCanvas::polyline(const std::vector<Imath::V2d>& points, const Pen& pen, const std::string&) {
    if (points.size() < 2) {
        return;
    }
    cairo_move_to(m_cairo, points[0].x, points[0].y);
    for (size_t i = 1; i < points.size(); ++i) {
        cairo_line_to(m_cairo, points[i].x, points[i].y);
    }
    stroke(pen);
}

void CairoCanvas::disc(const Imath::V2d& centre, double radius, const Colour& fill, const std::string&) {
    cairo_new_sub_path(m_cairo);
    cairo_arc(m_cairo, centre.x, centre.y, radius, 0.0, 2.0 * M_PI);
    setColour(m_cairo, fill);
    cairo_fill(m_cairo);
}

void CairoCanvas::rectangle(const PixelRect& rect, const Pen* pen, const Colour* fill, const std::string&) {
    if (fill) {
        cairo_rectangle(m_cairo, rect.x, rect.y, rect.width, rect.height);
        setColour(m_cairo, *fill);
        cairo_fill(m_cairo);
    }
    if (pen) {
        cairo_rectangle(m_cairo, rect.x, rect.y, rect.width, rect.height);
        stroke(*pen);
    }
}

void CairoCanvas::text(const Imath::V2d& at, const std::string& text, const TextStyle& style,
                       const std::string&, const ElementAttributes&) {
    cairo_select_font_face(m_cairo, "DejaVu Sans", CAIRO_FONT_SLANT_NORMAL,
                           style.bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(m_cairo, style.size);
    double x = at.x;
    if (style.anchor == TextStyle::Anchor::Middle) {
        cairo_text_extents_t extents;
        cairo_text_extents(m_cairo, text.c_str(), &extents);
        x -= extents.x_advance * 0.5;
    }
    setColour(m_cairo, style.colour);
    cairo_move_to(m_cairo, x, at.y);
    cairo_show_text(m_cairo, text.c_str());
    cairo_new_path(m_cairo);
}

bool CairoCanvas::writePng(const std::string& path, std::string& error) {
    cairo_surface_flush(m_surface);
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    if (!out) {
        error = std::strerror(errno);
        return false;
    }
    auto write = [](void* closure, const unsigned char* data, unsigned int length) {
        auto* stream = static_cast<std::ofstream*>(closure);
        stream->write(reinterpret_cast<const char*>(data), length);
        return *stream ? CAIRO_STATUS_SUCCESS : CAIRO_STATUS_WRITE_ERROR;
    };
    const cairo_status_t status = cairo_surface_write_to_png_stream(m_surface, write, &out);
    out.close();
    if (status != CAIRO_STATUS_SUCCESS || !out) {
        error = status != CAIRO_STATUS_SUCCESS ? cairo_status_to_string(status) : std::strerror(errno);
        return false;
    }
    return true;
}

} // namespace Picture
} // namespace VexilHost
