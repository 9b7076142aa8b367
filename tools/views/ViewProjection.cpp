#include "tools/views/ViewProjection.h"

#include <algorithm>
#include <cmath>

namespace VexilHost {
namespace Picture {

Imath::V2d orthoProject(OrthoView view, const Imath::V3d& p) {
    switch (view) {
    case OrthoView::Top:
        return Imath::V2d(p.x, -p.z);
    case OrthoView::Front:
        return Imath::V2d(p.x, p.y);
    case OrthoView::Side:
        break;
    }
    return Imath::V2d(-p.z, p.y);
}

std::array<Imath::V3d, 4> viewCorners(const Lens& lens, double depth) {
    const double k = lens.orthographic ? 1.0 : depth * std::tan(lens.fovDegrees * M_PI / 360.0);
    return {Imath::V3d(lens.left * k, lens.bottom * k, -depth),
            Imath::V3d(lens.right * k, lens.bottom * k, -depth),
            Imath::V3d(lens.right * k, lens.top * k, -depth),
            Imath::V3d(lens.left * k, lens.top * k, -depth)};
}

CameraProjection::CameraProjection(const Imath::M44d& cameraWorld, const Lens& lens) : m_lens(lens) {
    m_inverse = cameraWorld.inverse(false);
    // Imath's non-throwing inverse gives the identity for a singular matrix.
    m_valid = cameraWorld.determinant() != 0.0;
    m_unitsPerWindow = lens.orthographic ? 1.0 : std::tan(lens.fovDegrees * M_PI / 360.0);
    if (!(m_unitsPerWindow > 0.0) || !std::isfinite(m_unitsPerWindow)) {
        m_valid = false;
    }
}

Imath::V3d CameraProjection::toCamera(const Imath::V3d& p) const {
    Imath::V3d out;
    m_inverse.multVecMatrix(p, out);
    return out;
}

bool CameraProjection::clip(Imath::V3d& a, Imath::V3d& b) const {
    const double limit = -std::max(m_lens.nearDistance, 1e-9);
    const bool aIn = a.z <= limit;
    const bool bIn = b.z <= limit;
    if (!aIn && !bIn) {
        return false;
    }
    if (aIn != bIn) {
        const double t = (limit - a.z) / (b.z - a.z);
        const Imath::V3d cut = a + (b - a) * t;
        (aIn ? b : a) = Imath::V3d(cut.x, cut.y, limit);
    }
    return true;
}

Imath::V2d CameraProjection::toScreen(const Imath::V3d& p) const {
    const double divisor = m_lens.orthographic ? 1.0 : -p.z * m_unitsPerWindow;
    return Imath::V2d(p.x / divisor, p.y / divisor);
}

PanelMapping::PanelMapping(const Imath::Box2d& extent, const PixelRect& area) {
    Imath::Box2d box = extent;
    if (box.isEmpty()) {
        box = Imath::Box2d(Imath::V2d(-0.5, -0.5), Imath::V2d(0.5, 0.5));
    }
    m_centre = box.center();
    double width = box.max.x - box.min.x;
    double height = box.max.y - box.min.y;
    if (width <= 0.0 && height <= 0.0) {
        width = height = 1.0;
    }
    const double sx = width > 0.0 ? area.width / width : HUGE_VAL;
    const double sy = height > 0.0 ? area.height / height : HUGE_VAL;
    m_scale = std::min(sx, sy);
    m_pixelCentre = Imath::V2d(area.x + area.width * 0.5, area.y + area.height * 0.5);
}

Imath::V2d PanelMapping::toPixel(const Imath::V2d& p) const {
    return Imath::V2d(m_pixelCentre.x + (p.x - m_centre.x) * m_scale,
                      m_pixelCentre.y - (p.y - m_centre.y) * m_scale);
}

} // namespace Picture
} // namespace VexilHost
