// A canvas that draws with cairo into an image and writes it as PNG.
#pragma once

#include "tools/views/Canvas.h"

#include <string>

typedef struct _cairo_surface cairo_surface_t;
typedef struct _cairo cairo_t;

namespace VexilHost {
namespace Picture {

/// Draws into a `width` × `height` RGB image with a white background.
class CairoCanvas : public Canvas {
public:
    CairoCanvas(int width, int height);
    ~CairoCanvas() override;
    CairoCanvas(const CairoCanvas&) = delete;
    CairoCanvas& operator=(const CairoCanvas&) = delete;

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

    /// Writes the image as PNG to `path`; false with `error` set when it cannot.
    bool writePng(const std::string& path, std::string& error);

private:
    void stroke(const Pen& pen);

    cairo_surface_t* m_surface = nullptr;
    cairo_t* m_cairo = nullptr;
    std::vector<double> m_groupOpacity;
};

} // namespace Picture
} // namespace VexilHost
