// The projections of scene pictures: three orthographic views of world space, the view through a
// camera, and the fit of a view's extent into a panel of pixels. Imath in, Imath out.
#pragma once

#include "tools/views/Canvas.h"

#include <Imath/ImathBox.h>
#include <Imath/ImathMatrix.h>
#include <Imath/ImathVec.h>

#include <array>

namespace VexilHost {
namespace Picture {

/// The orthographic views of a picture.
enum class OrthoView { Top, Front, Side };

/// The plane coordinates (u to the right, v up) of world point `p` in an orthographic view: top
/// looks down from +y (u = x, v = -z), front looks from +z (u = x, v = y), side looks from +x
/// (u = -z, v = y).
Imath::V2d orthoProject(OrthoView view, const Imath::V3d& p);

/// A camera's lens, from its `geometry.*` attributes: the screen window, the field of view in
/// degrees, the near and far clipping distances and the projection.
struct Lens {
    double left = -1.0;
    double right = 1.0;
    double bottom = -1.0;
    double top = 1.0;
    double fovDegrees = 70.0;
    double nearDistance = 0.1;
    double farDistance = 100000.0;
    bool orthographic = false;
};

/// The corners of the lens's view at `depth` in front of the camera, camera space (the camera looks
/// down -z): left-bottom, right-bottom, right-top, left-top. A perspective window spans
/// [left, right] · depth · tan(fov / 2) across; an orthographic one spans [left, right] at any depth.
std::array<Imath::V3d, 4> viewCorners(const Lens& lens, double depth);

/// The view through a camera: world points to camera space, clipping at the near plane, and screen
/// window coordinates (the window spans [left, right] × [bottom, top]).
class CameraProjection {
public:
    /// `cameraWorld` is the camera's world transform; a singular one gives an invalid projection.
    CameraProjection(const Imath::M44d& cameraWorld, const Lens& lens);

    bool valid() const { return m_valid; }
    const Lens& lens() const { return m_lens; }
    /// World point `p` in camera space.
    Imath::V3d toCamera(const Imath::V3d& p) const;
    /// Shortens the camera-space segment to the part at or beyond the near plane (z ≤ -near);
    /// false when no part is.
    bool clip(Imath::V3d& a, Imath::V3d& b) const;
    /// The screen-window coordinates of camera-space point `p` (which must lie beyond the near plane).
    Imath::V2d toScreen(const Imath::V3d& p) const;

private:
    Imath::M44d m_inverse;
    Lens m_lens;
    double m_unitsPerWindow = 1.0; // tan(fov / 2) for perspective
    bool m_valid = false;
};

/// The uniform-scale fit of a plane extent (v up) into a pixel rectangle (y down), centred.
class PanelMapping {
public:
    /// An empty or flat extent is widened to a unit square around its centre first.
    PanelMapping(const Imath::Box2d& extent, const PixelRect& area);
    /// Pixels of plane point `p`.
    Imath::V2d toPixel(const Imath::V2d& p) const;
    /// Pixels per plane unit.
    double scale() const { return m_scale; }

private:
    Imath::V2d m_centre;
    Imath::V2d m_pixelCentre;
    double m_scale = 1.0;
};

} // namespace Picture
} // namespace VexilHost
