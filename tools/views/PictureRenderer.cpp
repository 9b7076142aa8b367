#include "tools/views/PictureRenderer.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <sstream>

namespace VexilHost {
namespace Picture {

namespace {

const Colour kAxisColours[3] = {{0.90, 0.49, 0.13}, {0.15, 0.63, 0.30}, {0.16, 0.45, 0.75}};
const Colour kShapeColour{0.33, 0.33, 0.33};
const Colour kCameraColour{0.20, 0.29, 0.37};
const Colour kTrailColour{0.45, 0.50, 0.55};
const Colour kTargetColour{0.56, 0.27, 0.68};
const Colour kMoveColour{0.50, 0.55, 0.58};
const Colour kErrorColour{0.88, 0.06, 0.06};
const Colour kWarningColour{0.72, 0.46, 0.05};
const Colour kTextColour{0.15, 0.15, 0.15};
const Colour kPanelColour{0.80, 0.80, 0.80};
const Colour kTitleBackground{0.94, 0.94, 0.94};
const Colour kWhite{1.0, 1.0, 1.0};

constexpr double kBeforeOpacity = 0.3;
constexpr double kPanelMargin = 18.0;
constexpr double kPanelTitleHeight = 20.0;
/// Tripod axes in the orthographic views, and the room kept around the scene for them and labels.
constexpr double kTripodPixels = 26.0;
constexpr double kFitInset = 36.0;

Imath::V3d transformPoint(const Imath::M44d& m, const Imath::V3d& p) {
    Imath::V3d out;
    m.multVecMatrix(p, out);
    return out;
}

Imath::V3d originOf(const Imath::M44d& m) {
    return transformPoint(m, Imath::V3d(0.0));
}

/// The unit direction of local axis `axis` in world space (zero for a collapsed axis).
Imath::V3d axisDirection(const Imath::M44d& m, int axis) {
    Imath::V3d d(m[axis][0], m[axis][1], m[axis][2]);
    const double length = d.length();
    return length > 0.0 ? d / length : Imath::V3d(0.0);
}

std::array<Imath::V3d, 8> boxCorners(const Imath::Box3d& box) {
    std::array<Imath::V3d, 8> corners;
    for (int i = 0; i < 8; ++i) {
        corners[i] = Imath::V3d(i & 4 ? box.max.x : box.min.x, i & 2 ? box.max.y : box.min.y,
                                i & 1 ? box.max.z : box.min.z);
    }
    return corners;
}

/// Maps world points and segments to pixels of one view; false when nothing of them is visible.
class ViewPainter {
public:
    virtual ~ViewPainter() = default;
    virtual bool segment(const Imath::V3d& a, const Imath::V3d& b, Segment2& out) const = 0;
    virtual bool point(const Imath::V3d& p, Imath::V2d& out) const = 0;
    /// The world length of tripod axes at `origin`, given their length `standard` in the flat views.
    virtual double tripodLength(const Imath::V3d& origin, double standard) const {
        (void)origin;
        return standard;
    }
};

class OrthoPainter : public ViewPainter {
public:
    OrthoPainter(OrthoView view, const PanelMapping& mapping) : m_view(view), m_mapping(mapping) {}
    bool segment(const Imath::V3d& a, const Imath::V3d& b, Segment2& out) const override {
        out = {m_mapping.toPixel(orthoProject(m_view, a)), m_mapping.toPixel(orthoProject(m_view, b))};
        return true;
    }
    bool point(const Imath::V3d& p, Imath::V2d& out) const override {
        out = m_mapping.toPixel(orthoProject(m_view, p));
        return true;
    }
    double tripodLength(const Imath::V3d&, double) const override {
        return kTripodPixels / m_mapping.scale();
    }

private:
    OrthoView m_view;
    PanelMapping m_mapping;
};

class CameraPainter : public ViewPainter {
public:
    CameraPainter(const CameraProjection& projection, const PanelMapping& mapping)
        : m_projection(projection), m_mapping(mapping) {}
    bool segment(const Imath::V3d& a, const Imath::V3d& b, Segment2& out) const override {
        Imath::V3d ca = m_projection.toCamera(a);
        Imath::V3d cb = m_projection.toCamera(b);
        if (!m_projection.clip(ca, cb)) {
            return false;
        }
        out = {m_mapping.toPixel(m_projection.toScreen(ca)), m_mapping.toPixel(m_projection.toScreen(cb))};
        return true;
    }
    bool point(const Imath::V3d& p, Imath::V2d& out) const override {
        Imath::V3d c = m_projection.toCamera(p);
        Imath::V3d same = c;
        if (!m_projection.clip(c, same)) {
            return false;
        }
        out = m_mapping.toPixel(m_projection.toScreen(c));
        return true;
    }
    /// Through a perspective lens a fixed world length grows without limit near the eye, so tripods
    /// keep one size on screen instead: 9% of the window's height.
    double tripodLength(const Imath::V3d& origin, double standard) const override {
        const Lens& lens = m_projection.lens();
        const double windowHeight = std::fabs(lens.top - lens.bottom);
        const double depth = -m_projection.toCamera(origin).z;
        if (lens.orthographic) {
            return 0.09 * windowHeight;
        }
        const double length = 0.09 * windowHeight * depth * std::tan(lens.fovDegrees * M_PI / 360.0);
        return length > 0.0 && std::isfinite(length) ? length : standard;
    }

private:
    CameraProjection m_projection;
    PanelMapping m_mapping;
};

/// What every view of one picture shares: the scene's extent and the sizes derived from it.
struct SceneMeasures {
    Imath::Box3d box;    ///< world extent of the scene, frusta left out
    double tripod = 1.0; ///< length of a tripod's axes, world units
};

void addShapePoints(const Shape& shape, std::vector<Imath::V3d>& points) {
    points.push_back(originOf(shape.world));
    for (const auto& sample : shape.motion) {
        points.push_back(originOf(sample.second));
    }
    if (shape.bound) {
        for (const Imath::V3d& corner : boxCorners(*shape.bound)) {
            points.push_back(transformPoint(shape.world, corner));
        }
    }
    for (const Imath::V3d& p : shape.meshPoints) {
        points.push_back(transformPoint(shape.world, p));
    }
}

SceneMeasures measureScene(const PictureModel& model) {
    std::vector<Imath::V3d> points;
    for (const DrawnLocation& location : model.locations()) {
        addShapePoints(location.after, points);
        if (location.before) {
            addShapePoints(*location.before, points);
        }
    }
    SceneMeasures measures;
    for (const Imath::V3d& p : points) {
        if (std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z)) {
            measures.box.extendBy(p);
        }
    }
    if (measures.box.isEmpty()) {
        measures.box = Imath::Box3d(Imath::V3d(0.0), Imath::V3d(0.0));
    }
    const double diagonal = (measures.box.max - measures.box.min).length();
    measures.tripod = diagonal > 0.0 ? 0.06 * diagonal : 0.5;
    return measures;
}

/// How deep a camera's frustum is drawn: to the far plane, or just past the farthest point of the
/// scene when the far plane lies beyond it.
double frustumDepth(const Shape& shape, const SceneMeasures& measures) {
    const Lens& lens = *shape.lens;
    CameraProjection projection(shape.world, lens);
    double deepest = 0.0;
    for (const Imath::V3d& corner : boxCorners(measures.box)) {
        deepest = std::max(deepest, -projection.toCamera(corner).z);
    }
    const double diagonal = (measures.box.max - measures.box.min).length();
    double depth = std::max(deepest * 1.05, 0.25 * diagonal);
    depth = std::min(depth, lens.farDistance);
    return std::max(depth, lens.nearDistance);
}

std::array<Imath::V3d, 4> worldCorners(const Shape& shape, double depth) {
    std::array<Imath::V3d, 4> corners = viewCorners(*shape.lens, depth);
    for (Imath::V3d& corner : corners) {
        corner = transformPoint(shape.world, corner);
    }
    return corners;
}

void addFrustumPoints(const Shape& shape, const SceneMeasures& measures, std::vector<Imath::V3d>& points) {
    if (!shape.lens) {
        return;
    }
    for (const Imath::V3d& corner : worldCorners(shape, frustumDepth(shape, measures))) {
        points.push_back(corner);
    }
}

/// Draws the locations of a model into one view.
class ViewDrawer {
public:
    ViewDrawer(const PictureModel& model, const SceneMeasures& measures, const ViewPainter& painter,
               Canvas& canvas, const std::string& viewName, const DrawnLocation* viewingCamera)
        : m_model(model), m_measures(measures), m_painter(painter), m_canvas(canvas), m_viewName(viewName),
          m_viewingCamera(viewingCamera) {}

    void draw() {
        for (const DrawnLocation& location : m_model.locations()) {
            if (location.before && shown(location)) {
                drawShape(location, *location.before, "before");
            }
        }
        for (const DrawnLocation& location : m_model.locations()) {
            if (location.before && shown(location)) {
                drawMove(location);
            }
        }
        for (const DrawnLocation& location : m_model.locations()) {
            if (shown(location)) {
                drawTargetLines(location);
            }
        }
        for (const DrawnLocation& location : m_model.locations()) {
            if (shown(location)) {
                drawShape(location, location.after, "after");
            }
        }
        for (const DrawnLocation& location : m_model.locations()) {
            if (shown(location) && !location.groupOnly) {
                drawLabel(location);
            }
        }
    }

private:
    bool shown(const DrawnLocation& location) const { return &location != m_viewingCamera; }

    Colour colourOr(const DrawnLocation& location, const Colour& colour) const {
        return location.isError ? kErrorColour : colour;
    }

    void addSegment(const Imath::V3d& a, const Imath::V3d& b, std::vector<Segment2>& out) const {
        Segment2 segment;
        if (m_painter.segment(a, b, segment)) {
            out.push_back(segment);
        }
    }

    void drawShape(const DrawnLocation& location, const Shape& shape, const char* state) {
        ElementAttributes attributes{
            {"data-path", location.path}, {"data-state", state}, {"data-view", m_viewName}};
        if (location.isError) {
            attributes.emplace_back("data-error", "1");
        }
        if (location.constrained) {
            attributes.emplace_back("data-constrained", "1");
        }
        m_canvas.beginGroup("location", attributes, std::string(state) == "before" ? kBeforeOpacity : 1.0);
        if (location.groupOnly) {
            Imath::V2d origin;
            if (m_painter.point(originOf(shape.world), origin)) {
                m_canvas.disc(origin, 1.5, colourOr(location, kShapeColour), "origin");
            }
            m_canvas.endGroup();
            return;
        }
        drawBound(location, shape);
        drawMesh(location, shape);
        drawLens(location, shape);
        drawMotion(location, shape);
        drawTripod(location, shape.world, "tripod", 2.0, 1.0);
        m_canvas.endGroup();
    }

    void drawBound(const DrawnLocation& location, const Shape& shape) {
        if (!shape.bound) {
            return;
        }
        const std::array<Imath::V3d, 8> local = boxCorners(*shape.bound);
        std::array<Imath::V3d, 8> corners;
        for (int i = 0; i < 8; ++i) {
            corners[i] = transformPoint(shape.world, local[i]);
        }
        std::vector<Segment2> segments;
        for (int i = 0; i < 8; ++i) {
            for (int bit : {1, 2, 4}) {
                if (!(i & bit)) {
                    addSegment(corners[i], corners[i | bit], segments);
                }
            }
        }
        m_canvas.segments(segments, Pen{colourOr(location, kShapeColour), 1.2}, "bound");
    }

    void drawMesh(const DrawnLocation& location, const Shape& shape) {
        if (shape.meshEdges.empty()) {
            return;
        }
        std::vector<Imath::V3d> world;
        world.reserve(shape.meshPoints.size());
        for (const Imath::V3d& p : shape.meshPoints) {
            world.push_back(transformPoint(shape.world, p));
        }
        std::vector<Segment2> segments;
        for (const auto& [a, b] : shape.meshEdges) {
            addSegment(world[a], world[b], segments);
        }
        m_canvas.segments(segments, Pen{colourOr(location, kShapeColour), 0.8}, "mesh");
    }

    void drawLens(const DrawnLocation& location, const Shape& shape) {
        if (!shape.lens) {
            return;
        }
        const Lens& lens = *shape.lens;
        const double depth = frustumDepth(shape, m_measures);
        const Imath::V3d origin = originOf(shape.world);
        const std::array<Imath::V3d, 4> nearCorners = worldCorners(shape, lens.nearDistance);
        const std::array<Imath::V3d, 4> deepCorners = worldCorners(shape, depth);
        const Colour colour = colourOr(location, kCameraColour);
        std::vector<Segment2> sides;
        for (int i = 0; i < 4; ++i) {
            // An orthographic view volume starts at the near plane, a perspective one at the eye.
            addSegment(lens.orthographic ? nearCorners[i] : origin, deepCorners[i], sides);
        }
        m_canvas.segments(sides, Pen{colour, 0.9}, "frustum");
        auto ring = [&](const std::array<Imath::V3d, 4>& corners) {
            std::vector<Segment2> segments;
            for (int i = 0; i < 4; ++i) {
                addSegment(corners[i], corners[(i + 1) % 4], segments);
            }
            return segments;
        };
        m_canvas.segments(ring(nearCorners), Pen{colour, 1.4}, "near-plane");
        if (lens.farDistance <= depth) {
            m_canvas.segments(ring(deepCorners), Pen{colour, 1.4}, "far-plane");
        } else {
            // The far plane lies beyond the scene: the frustum is drawn to just past the scene's depth.
            m_canvas.segments(ring(deepCorners), Pen{colour, 0.8, Pen::Pattern::Dotted}, "frustum-end");
        }
    }

    void drawMotion(const DrawnLocation& location, const Shape& shape) {
        if (shape.motion.empty()) {
            return;
        }
        std::vector<Imath::V2d> trail;
        for (size_t i = 0; i + 1 < shape.motion.size(); ++i) {
            Segment2 segment;
            if (m_painter.segment(originOf(shape.motion[i].second), originOf(shape.motion[i + 1].second),
                                  segment)) {
                if (trail.empty() || trail.back() != segment.first) {
                    if (trail.size() > 1) {
                        m_canvas.polyline(trail, Pen{colourOr(location, kTrailColour), 1.4}, "trail");
                    }
                    trail = {segment.first};
                }
                trail.push_back(segment.second);
            }
        }
        m_canvas.polyline(trail, Pen{colourOr(location, kTrailColour), 1.4}, "trail");
        for (const auto& [time, matrix] : shape.motion) {
            drawTripod(location, matrix, "motion-sample", 1.0, 0.6);
        }
    }

    void drawTripod(const DrawnLocation& location, const Imath::M44d& world, const char* className,
                    double width, double lengthFactor) {
        const Imath::V3d origin = originOf(world);
        Imath::V2d originPixel;
        if (!m_painter.point(origin, originPixel)) {
            return;
        }
        m_canvas.beginGroup(className, {});
        const double length = m_painter.tripodLength(origin, m_measures.tripod);
        static const char* const kAxisClasses[3] = {"axis-x", "axis-y", "axis-z"};
        for (int axis = 0; axis < 3; ++axis) {
            std::vector<Segment2> segments;
            addSegment(origin, origin + axisDirection(world, axis) * (length * lengthFactor), segments);
            m_canvas.segments(segments, Pen{colourOr(location, kAxisColours[axis]), width},
                              kAxisClasses[axis]);
        }
        m_canvas.disc(originPixel, width + 0.8, colourOr(location, kTextColour), "origin");
        m_canvas.endGroup();
    }

    void drawMove(const DrawnLocation& location) {
        std::vector<Segment2> segments;
        addSegment(originOf(location.before->world), originOf(location.after.world), segments);
        m_canvas.segments(segments, Pen{kMoveColour, 1.0, Pen::Pattern::Dotted}, "move-line",
                          {{"data-path", location.path}});
    }

    void drawTargetLines(const DrawnLocation& location) {
        for (const std::string& targetPath : location.targets) {
            const DrawnLocation* target = m_model.find(targetPath);
            if (!target) {
                continue;
            }
            std::vector<Segment2> segments;
            addSegment(originOf(location.after.world), originOf(target->after.world), segments);
            m_canvas.segments(segments, Pen{colourOr(location, kTargetColour), 1.2, Pen::Pattern::Dashed},
                              "target-line", {{"data-from", location.path}, {"data-to", targetPath}});
        }
    }

    void drawLabel(const DrawnLocation& location) {
        Imath::V2d at;
        if (!m_painter.point(originOf(location.after.world), at)) {
            return;
        }
        // Labels of locations that meet at one spot are stacked instead of drawn over each other.
        const Imath::V2d spot = at;
        for (const Imath::V2d& placed : m_labelSpots) {
            if ((placed - spot).length() < 4.0) {
                at.y += 12.0;
            }
        }
        m_labelSpots.push_back(spot);
        TextStyle style;
        style.colour = colourOr(location, kTextColour);
        style.size = 11.0;
        style.bold = location.constrained;
        m_canvas.text(at + Imath::V2d(5.0, -5.0), location.name, style, "label",
                      {{"data-path", location.path}});
    }

    const PictureModel& m_model;
    const SceneMeasures& m_measures;
    const ViewPainter& m_painter;
    Canvas& m_canvas;
    std::string m_viewName;
    const DrawnLocation* m_viewingCamera;
    std::vector<Imath::V2d> m_labelSpots;
};

PixelRect panelRect(int column, int row) {
    return PixelRect{double(column * kPanelWidth), double(kTitleHeight + row * kPanelHeight),
                     double(kPanelWidth), double(kPanelHeight)};
}

PixelRect drawingArea(const PixelRect& panel) {
    return PixelRect{panel.x + kPanelMargin, panel.y + kPanelTitleHeight + kPanelMargin * 0.5,
                     panel.width - 2.0 * kPanelMargin, panel.height - kPanelTitleHeight - kPanelMargin * 1.5};
}

void beginPanel(Canvas& canvas, const PixelRect& panel, const std::string& viewName,
                const std::string& title) {
    canvas.beginGroup("view", {{"data-view", viewName},
                               {"data-x", std::to_string(int(panel.x))},
                               {"data-y", std::to_string(int(panel.y))},
                               {"data-width", std::to_string(int(panel.width))},
                               {"data-height", std::to_string(int(panel.height))}});
    const Pen border{kPanelColour, 1.0};
    canvas.rectangle(panel, &border, nullptr, "panel");
    TextStyle style;
    style.colour = kTextColour;
    style.size = 13.0;
    style.bold = true;
    canvas.text(Imath::V2d(panel.x + 10.0, panel.y + 17.0), title, style, "view-title");
    canvas.beginClip(PixelRect{panel.x + 1.0, panel.y + kPanelTitleHeight, panel.width - 2.0,
                               panel.height - kPanelTitleHeight - 1.0},
                     "clip-" + viewName);
}

void endPanel(Canvas& canvas) {
    canvas.endClip();
    canvas.endGroup();
}

const DrawnLocation* chooseCamera(const PictureModel& model, const std::string& cameraPath) {
    if (!cameraPath.empty()) {
        const DrawnLocation* camera = model.find(cameraPath);
        if (!camera) {
            throw PictureError("--camera " + cameraPath + ": no such location in the cooked scene");
        }
        if (!camera->after.lens) {
            throw PictureError("--camera " + cameraPath + ": not a camera (type \"" + camera->type + "\")");
        }
        return camera;
    }
    for (const DrawnLocation& location : model.locations()) {
        if (location.after.lens) {
            return &location;
        }
    }
    return nullptr;
}

std::string formatLength(double value) {
    std::ostringstream out;
    out.precision(4);
    out << value;
    return out.str();
}

void addWrapped(std::vector<LegendLine>& legend, LegendLine::Kind kind, const std::string& path,
                const std::string& prefix, const std::string& message) {
    std::istringstream lines(message);
    std::string line;
    bool first = true;
    while (std::getline(lines, line) || first) {
        const std::string lead = first ? prefix : std::string(prefix.size(), ' ');
        std::vector<std::string> wrapped = wrapText(line, kLegendColumns - prefix.size());
        if (wrapped.empty()) {
            wrapped.emplace_back();
        }
        for (size_t i = 0; i < wrapped.size(); ++i) {
            legend.push_back({kind, (i == 0 ? lead : std::string(prefix.size(), ' ')) + wrapped[i], path});
        }
        first = false;
    }
}

} // namespace

std::vector<std::string> wrapText(const std::string& text, size_t columns) {
    std::vector<std::string> lines;
    columns = std::max<size_t>(columns, 1);
    std::string current;
    std::istringstream words(text);
    std::string word;
    while (words >> word) {
        while (word.size() > columns) {
            if (!current.empty()) {
                lines.push_back(current);
                current.clear();
            }
            lines.push_back(word.substr(0, columns));
            word.erase(0, columns);
        }
        if (current.empty()) {
            current = word;
        } else if (current.size() + 1 + word.size() <= columns) {
            current += " " + word;
        } else {
            lines.push_back(current);
            current = word;
        }
    }
    if (!current.empty()) {
        lines.push_back(current);
    }
    return lines;
}

PictureLayout layoutPicture(const PictureModel& model, const PictureOptions& options) {
    PictureLayout layout;
    layout.camera = chooseCamera(model, options.cameraPath);
    layout.legend.push_back(
        {LegendLine::Kind::Key,
         "solid: after the op chain   faded: before (input scene)   dotted: how far it moved   "
         "dashed: to a constraint target   small tripods: motion samples",
         ""});
    layout.legend.push_back({LegendLine::Kind::Key,
                             "tripod axes: x orange, y green, z blue   bold label: constrained   red: error",
                             ""});
    size_t problems = 0;
    for (const DrawnLocation& location : model.locations()) {
        if (location.isError) {
            addWrapped(layout.legend, LegendLine::Kind::Error, location.path, location.path + ": error: ",
                       location.errorMessage.empty() ? std::string("(no errorMessage)")
                                                     : location.errorMessage);
            ++problems;
        }
    }
    for (const DrawnLocation& location : model.locations()) {
        if (!location.warningMessage.empty()) {
            addWrapped(layout.legend, LegendLine::Kind::Warning, location.path,
                       location.path + ": warning: ", location.warningMessage);
            ++problems;
        }
    }
    if (problems == 0) {
        layout.legend.push_back({LegendLine::Kind::Note, "no errors or warnings", ""});
    }
    layout.width = 2 * kPanelWidth;
    layout.height = kTitleHeight + 2 * kPanelHeight + 2 * kLegendPadding +
                    kLegendLineHeight * static_cast<int>(layout.legend.size());
    return layout;
}

void drawPicture(const PictureModel& model, const PictureLayout& layout, const PictureOptions& options,
                 Canvas& canvas) {
    canvas.rectangle(PixelRect{0, 0, double(layout.width), double(layout.height)}, nullptr, &kWhite,
                     "background");
    canvas.rectangle(PixelRect{0, 0, double(layout.width), double(kTitleHeight)}, nullptr, &kTitleBackground,
                     "title-bar");
    TextStyle titleStyle;
    titleStyle.colour = kTextColour;
    titleStyle.size = 15.0;
    titleStyle.bold = true;
    canvas.text(Imath::V2d(10.0, 21.0), options.title, titleStyle, "title");

    const SceneMeasures measures = measureScene(model);

    std::vector<Imath::V3d> fitPoints;
    for (const DrawnLocation& location : model.locations()) {
        addShapePoints(location.after, fitPoints);
        addFrustumPoints(location.after, measures, fitPoints);
        if (location.before) {
            addShapePoints(*location.before, fitPoints);
            addFrustumPoints(*location.before, measures, fitPoints);
        }
    }
    struct OrthoPanel {
        OrthoView view;
        const char* name;
        const char* title;
        int column;
        int row;
    };
    const OrthoPanel panels[3] = {{OrthoView::Top, "top", "top: x right, z down", 0, 0},
                                  {OrthoView::Front, "front", "front: x right, y up", 0, 1},
                                  {OrthoView::Side, "side", "side: z left, y up", 1, 1}};
    for (const OrthoPanel& panel : panels) {
        Imath::Box2d extent;
        for (const Imath::V3d& p : fitPoints) {
            if (std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z)) {
                extent.extendBy(orthoProject(panel.view, p));
            }
        }
        const PixelRect rect = panelRect(panel.column, panel.row);
        PixelRect area = drawingArea(rect);
        // Room around the scene for tripods and labels.
        area = PixelRect{area.x + kFitInset, area.y + kFitInset, area.width - 2.0 * kFitInset,
                         area.height - 2.0 * kFitInset};
        beginPanel(canvas, rect, panel.name, panel.title);
        const OrthoPainter painter(panel.view, PanelMapping(extent, area));
        ViewDrawer(model, measures, painter, canvas, panel.name, nullptr).draw();
        endPanel(canvas);
    }

    const PixelRect cameraPanel = panelRect(1, 0);
    if (!layout.camera) {
        beginPanel(canvas, cameraPanel, "camera", "camera: none in the scene");
        endPanel(canvas);
    } else {
        const Lens& lens = *layout.camera->after.lens;
        const CameraProjection projection(layout.camera->after.world, lens);
        std::string title = "camera: " + layout.camera->path + (lens.orthographic ? " (orthographic)" : "") +
                            "   near " + formatLength(lens.nearDistance) + ", far " +
                            formatLength(lens.farDistance);
        beginPanel(canvas, cameraPanel, "camera", title);
        const Imath::Box2d window(
            Imath::V2d(std::min(lens.left, lens.right), std::min(lens.bottom, lens.top)),
            Imath::V2d(std::max(lens.left, lens.right), std::max(lens.bottom, lens.top)));
        const PanelMapping mapping(window, drawingArea(cameraPanel));
        const Imath::V2d low = mapping.toPixel(window.min);
        const Imath::V2d high = mapping.toPixel(window.max);
        const PixelRect windowRect{low.x, high.y, high.x - low.x, low.y - high.y};
        const Pen windowPen{kCameraColour, 1.5};
        canvas.rectangle(windowRect, &windowPen, nullptr, "screen-window");
        if (projection.valid()) {
            const CameraPainter painter(projection, mapping);
            ViewDrawer(model, measures, painter, canvas, "camera", layout.camera).draw();
        }
        endPanel(canvas);
    }

    canvas.beginGroup("legend", {});
    double y = kTitleHeight + 2 * kPanelHeight + kLegendPadding + kLegendLineHeight - 5.0;
    for (const LegendLine& line : layout.legend) {
        TextStyle style;
        style.size = 12.0;
        style.colour = line.kind == LegendLine::Kind::Error     ? kErrorColour
                       : line.kind == LegendLine::Kind::Warning ? kWarningColour
                                                                : kTextColour;
        const char* className = line.kind == LegendLine::Kind::Error     ? "error-message"
                                : line.kind == LegendLine::Kind::Warning ? "warning-message"
                                : line.kind == LegendLine::Kind::Key     ? "key"
                                                                         : "note";
        ElementAttributes attributes;
        if (!line.path.empty()) {
            attributes.emplace_back("data-path", line.path);
        }
        canvas.text(Imath::V2d(10.0, y), line.text, style, className, attributes);
        y += kLegendLineHeight;
    }
    canvas.endGroup();
}

} // namespace Picture
} // namespace VexilHost
