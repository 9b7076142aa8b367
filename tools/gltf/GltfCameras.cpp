#include "tools/gltf/GltfCameras.h"

#include "hostapi/attribute/DataAttribute.h"
#include "tools/gltf/GltfFormatError.h"

#include <algorithm>
#include <cmath>
#include <sstream>

namespace VexilHost {
namespace Gltf {

namespace {

constexpr double kPi = 3.14159265358979323846;

Qn::DoubleAttribute value(double v) {
    return Qn::DoubleAttribute(v);
}

double lensValue(const Qn::GroupAttribute& attrs, const char* name, float time, double fallback,
                 bool& animated) {
    const Qn::DoubleAttribute attr(attrs.getChildByName(std::string("geometry.") + name));
    if (!attr.isValid() || attr.getNumberOfTimeSamples() < 1 || attr.getNumberOfValues() < 1) {
        return fallback;
    }
    const double first = attr.getNearestSample(attr.getSampleTime(0))[0];
    for (int64_t i = 1; i < attr.getNumberOfTimeSamples(); ++i) {
        animated = animated || attr.getNearestSample(attr.getSampleTime(i))[0] != first;
    }
    return attr.getNearestSample(time)[0];
}

bool same(double a, double b) {
    return std::fabs(a - b) <= 1e-9 * std::max({1.0, std::fabs(a), std::fabs(b)});
}

} // namespace

bool Lens::operator==(const Lens& o) const {
    return orthographic == o.orthographic && same(fov, o.fov) && same(left, o.left) && same(right, o.right) &&
           same(bottom, o.bottom) && same(top, o.top) && same(near, o.near) && same(far, o.far);
}

Qn::GroupAttribute cameraGeometry(const tinygltf::Model& model, int index) {
    const tinygltf::Camera& camera = model.cameras[static_cast<std::size_t>(index)];
    const std::string where = partName("camera", static_cast<std::size_t>(index), camera.name);
    Qn::GroupBuilder geometry;
    const auto check = [&](bool good, const std::string& what, double value, const char* needed) {
        if (!good) {
            std::ostringstream text;
            text << where << ": " << what << " " << value << " " << needed;
            throw GltfFormatError(text.str());
        }
    };
    if (camera.type == "orthographic") {
        const tinygltf::OrthographicCamera& o = camera.orthographic;
        check(o.xmag != 0.0, "xmag", o.xmag, "is no width");
        check(o.ymag != 0.0, "ymag", o.ymag, "is no height");
        check(o.znear >= 0.0, "znear", o.znear, "is behind the camera");
        check(o.zfar > o.znear, "zfar", o.zfar, "is not beyond znear");
        geometry.set("projection", Qn::StringAttribute("orthographic"));
        geometry.set("left", value(-std::fabs(o.xmag))).set("right", value(std::fabs(o.xmag)));
        geometry.set("bottom", value(-std::fabs(o.ymag))).set("top", value(std::fabs(o.ymag)));
        geometry.set("near", value(o.znear)).set("far", value(o.zfar));
        return geometry.build();
    }
    const tinygltf::PerspectiveCamera& p = camera.perspective;
    check(p.yfov > 0.0 && p.yfov < kPi, "yfov", p.yfov, "is not between 0 and pi");
    check(p.znear > 0.0, "znear", p.znear, "is not in front of the camera");
    check(p.zfar == 0.0 || p.zfar > p.znear, "zfar", p.zfar, "is not beyond znear");
    check(p.aspectRatio >= 0.0, "aspectRatio", p.aspectRatio, "is negative");
    const double aspect = p.aspectRatio > 0.0 ? p.aspectRatio : 1.0;
    geometry.set("projection", Qn::StringAttribute("perspective"));
    geometry.set("fov", value(p.yfov * 180.0 / kPi));
    geometry.set("left", value(-aspect)).set("right", value(aspect));
    geometry.set("bottom", value(-1.0)).set("top", value(1.0));
    geometry.set("near", value(p.znear)).set("far", value(p.zfar > 0.0 ? p.zfar : kDefaultFar));
    return geometry.build();
}

Lens lensAt(const Qn::GroupAttribute& attrs, float time, bool& animated) {
    Lens lens;
    const Qn::StringAttribute projection(attrs.getChildByName("geometry.projection"));
    lens.orthographic = projection.isValid() && projection.getValue(std::string(), false) == "orthographic";
    lens.fov = lensValue(attrs, "fov", time, lens.fov, animated);
    lens.left = lensValue(attrs, "left", time, lens.left, animated);
    lens.right = lensValue(attrs, "right", time, lens.right, animated);
    lens.bottom = lensValue(attrs, "bottom", time, lens.bottom, animated);
    lens.top = lensValue(attrs, "top", time, lens.top, animated);
    lens.near = lensValue(attrs, "near", time, lens.near, animated);
    lens.far = lensValue(attrs, "far", time, lens.far, animated);
    return lens;
}

tinygltf::Camera gltfCamera(const Lens& lens, std::vector<std::string>& lost) {
    const double width = lens.right - lens.left;
    const double height = lens.top - lens.bottom;
    if (!same(lens.left, -lens.right) || !same(lens.bottom, -lens.top)) {
        lost.push_back("an off-centre screen window");
    }
    tinygltf::Camera camera;
    if (lens.orthographic) {
        camera.type = "orthographic";
        camera.orthographic.xmag = width / 2.0;
        camera.orthographic.ymag = height / 2.0;
        camera.orthographic.znear = lens.near;
        camera.orthographic.zfar = lens.far;
        return camera;
    }
    // The window is in units of tan(fov / 2): its height gives the vertical field of view.
    const double halfHeight = std::tan(lens.fov * kPi / 360.0) * height / 2.0;
    camera.type = "perspective";
    camera.perspective.yfov = 2.0 * std::atan(halfHeight);
    camera.perspective.aspectRatio = width / height;
    camera.perspective.znear = lens.near;
    camera.perspective.zfar = lens.far;
    return camera;
}

bool sameCamera(const tinygltf::Camera& a, const tinygltf::Camera& b) {
    if (a.type != b.type) {
        return false;
    }
    if (a.type == "orthographic") {
        const tinygltf::OrthographicCamera& x = a.orthographic;
        const tinygltf::OrthographicCamera& y = b.orthographic;
        return same(std::fabs(x.xmag), std::fabs(y.xmag)) && same(std::fabs(x.ymag), std::fabs(y.ymag)) &&
               same(x.znear, y.znear) && same(x.zfar, y.zfar);
    }
    const tinygltf::PerspectiveCamera& x = a.perspective;
    const tinygltf::PerspectiveCamera& y = b.perspective;
    const auto aspect = [](double v) {
        return v > 0.0 ? v : 1.0;
    };
    const auto far = [](double v) {
        return v > 0.0 ? v : kDefaultFar;
    };
    return same(x.yfov, y.yfov) && same(aspect(x.aspectRatio), aspect(y.aspectRatio)) &&
           same(x.znear, y.znear) && same(far(x.zfar), far(y.zfar));
}

} // namespace Gltf
} // namespace VexilHost
