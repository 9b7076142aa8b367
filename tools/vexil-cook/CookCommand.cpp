#include "tools/vexil-cook/CookCommand.h"

#include "host/engine/Engine.h"
#include "host/loader/OpRegistry.h"
#include "host/scene/InputFile.h"
#include "host/scene/ScenePaths.h"
#include "host/scene/SceneWriter.h"
#include "host/xform/WorldTransforms.h"
#include "hostapi/attribute/Attribute.h"
#include "hostapi/attribute/GroupAttribute.h"
#include "tools/gltf/GltfBake.h"
#include "tools/gltf/ShotTimes.h"
#include "tools/vexil-cook/CookSummary.h"
#include "tools/vexil-cook/FrameRunner.h"
#include "tools/vexil-cook/SceneSource.h"
#include "tools/views/ExplainReport.h"
#include "tools/views/PictureFiles.h"
#include "tools/views/ProgressDisplay.h"

#include <tbb/info.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <sstream>

namespace VexilHost {

namespace {

constexpr int kFailed = 1;
constexpr const char* kResolveOpType = "ConstraintResolve";

int fail(const std::string& what) {
    std::cerr << "vexil-cook ERROR: " << what << std::endl;
    return kFailed;
}

double secondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

std::string seconds(double value) {
    std::ostringstream text;
    text << std::fixed << std::setprecision(3) << value << " s";
    return text.str();
}

// Writes `text` to `path`, or to standard output when `path` is empty; "" or the failure's message.
std::string writeText(const std::string& text, const std::string& path) {
    if (path.empty()) {
        std::cout << text << std::flush;
        return std::cout ? std::string() : std::string("standard output: cannot write");
    }
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    if (out) {
        out << text;
        out.close();
    }
    return out ? std::string() : path + ": cannot write: " + std::strerror(errno);
}

// What cooking one frame gave.
struct FrameOutcome {
    std::string failure; // a "vexil-cook ERROR:" text: the run fails
    std::string report;  // the lines on errors and warnings, and the counts
    CookCounts counts;
    std::string explanation;
    std::optional<Gltf::FrameTransforms> transforms;
    // For a scene file written as glTF, the first frame's cooked scene and the scene before resolution.
    std::optional<SceneLocation> cooked;
    std::optional<SceneLocation> beforeResolve;
    double seconds = 0.0;
};

class CookRun {
public:
    CookRun(const Options& options, const OpRegistry& registry, const SceneSource& source, int threads)
        : m_options(options), m_registry(registry), m_source(source), m_threads(threads),
          m_name(inputName(options.scenePath)) {}

    int run() {
        std::vector<std::optional<double>> frames;
        if (m_options.frames) {
            for (const int frame : m_options.frames->frames()) {
                frames.emplace_back(frame);
            }
        } else {
            frames.emplace_back(m_options.frame);
        }
        const bool range = m_options.frames.has_value();
        // An op that asks to be cooked one at a time would meet itself in two frames cooked at once.
        bool serialOp = false;
        for (const OpDescription& op : m_source.ops()) {
            serialOp = serialOp || m_registry.threadingMode(op.type) == 1;
        }
        const FrameSharing sharing = shareThreads(serialOp ? 1 : frames.size(), m_threads);
        std::vector<FrameOutcome> outcomes(frames.size());
        std::atomic<int64_t> cooked{0};
        const std::string label = range ? "vexil-cook: cooking frames" : "vexil-cook: cooking";
        ProgressDisplay progress(cooked, std::cerr, label);
        if (!m_options.quiet && standardErrorIsTerminal()) {
            progress.start();
        }
        const auto start = std::chrono::steady_clock::now();
        runFrames(frames.size(), sharing, [&](std::size_t i) {
            const auto frameStart = std::chrono::steady_clock::now();
            try {
                outcomes[i] = cookFrame(frames[i], i == 0, range, sharing.threadsPerFrame, cooked);
            } catch (const std::bad_alloc&) {
                outcomes[i].failure = m_name + ": out of memory";
            } catch (const std::exception& error) {
                outcomes[i].failure = m_name + ": the cook failed: " + error.what();
            }
            outcomes[i].seconds = secondsSince(frameStart);
            return outcomes[i].failure.empty();
        });
        progress.stop();
        if (m_options.verbose) {
            std::cerr << "vexil-cook: cooked " << frames.size() << (frames.size() == 1 ? " frame" : " frames")
                      << " in " << seconds(secondsSince(start)) << ", " << sharing.atOnce << " at a time on "
                      << sharing.threadsPerFrame << (sharing.threadsPerFrame == 1 ? " thread" : " threads")
                      << " each" << std::endl;
        }
        for (const FrameOutcome& outcome : outcomes) {
            if (!outcome.failure.empty()) {
                return fail(outcome.failure);
            }
        }
        std::vector<std::string> gltfWarnings;
        if (m_options.outputFormat != OutputFormat::Json) {
            if (const int status = writeGltf(outcomes, gltfWarnings)) {
                return status;
            }
        }
        if (!outcomes.front().explanation.empty()) {
            if (const std::string error = writeText(outcomes.front().explanation, std::string());
                !error.empty()) {
                return fail(error);
            }
        }
        CookCounts total;
        for (const FrameOutcome& outcome : outcomes) {
            if (!m_options.quiet) {
                std::cerr << outcome.report << std::flush;
            }
            total.errors += outcome.counts.errors;
        }
        if (!m_options.quiet) {
            for (const std::string& warning : gltfWarnings) {
                std::cerr << "vexil-cook: " << m_options.outputPath << ": warning: " << warning << '\n';
            }
        }
        if (m_options.failOnError && total.errors > 0) {
            return fail(m_name + ": " + std::to_string(total.errors) + " cooked " +
                        (total.errors == 1 ? "location carries an error" : "locations carry errors") +
                        " (--fail-on-error)");
        }
        return 0;
    }

private:
    SceneLocation cook(const SceneFile& scene, int threads, std::atomic<int64_t>& counter) const {
        EngineOptions engineOptions;
        engineOptions.threads = threads;
        engineOptions.abortMode = m_options.abortMode;
        engineOptions.locationsCooked = &counter;
        Engine engine(scene, m_registry, engineOptions);
        return engine.cook();
    }

    // The scene as it reaches the chain's last ConstraintResolve op, where the constraint descriptions
    // are still unresolved; nothing when the chain has no such op.
    std::optional<SceneLocation> cookBeforeResolve(const SceneFile& scene, int threads) const {
        std::size_t resolveAt = scene.ops.size();
        for (std::size_t i = 0; i < scene.ops.size(); ++i) {
            if (scene.ops[i].type == kResolveOpType) {
                resolveAt = i;
            }
        }
        if (resolveAt == scene.ops.size()) {
            return std::nullopt;
        }
        SceneFile prefix = scene;
        prefix.ops.resize(resolveAt);
        std::atomic<int64_t> counter{0};
        ProgressDisplay progress(counter, std::cerr, "vexil-cook: cooking before resolution");
        if (!m_options.quiet && standardErrorIsTerminal()) {
            progress.start();
        }
        SceneLocation result = cook(prefix, threads, counter);
        progress.stop();
        return result;
    }

    FrameOutcome cookFrame(std::optional<double> frame, bool first, bool range, int threads,
                           std::atomic<int64_t>& counter) const {
        FrameOutcome outcome;
        const SceneFile scene = m_source.sceneAt(frame);
        SceneLocation cooked = cook(scene, threads, counter);
        const std::string prefix =
            range ? "frame " + std::to_string(static_cast<long long>(*frame)) + ": " : "";

        if (m_options.drawsOrExplains() && !draw(scene, cooked, threads, outcome)) {
            return outcome;
        }
        if (m_options.outputFormat != OutputFormat::Json) {
            const std::vector<float> offsets = Gltf::shutterOffsets(scene.time);
            outcome.transforms = Gltf::gatherFrame(cooked, scene.time.currentTime, offsets);
            if (first && !m_source.shot()) {
                outcome.beforeResolve = cookBeforeResolve(scene, threads);
            }
            std::ostringstream report;
            outcome.counts =
                reportCookProblems(cooked, "/root", report, prefix, resolveStartLocations(scene));
            outcome.report = report.str() + countsLine(outcome.counts, prefix) + "\n";
            if (first && !m_source.shot()) {
                outcome.cooked = std::move(cooked);
            }
            return outcome;
        }
        // World transforms need every ancestor, so they are computed on the whole scene.
        if (m_options.world) {
            addWorldAttributes(cooked);
        }
        const SceneLocation* printed = findLocation(cooked, m_options.location);
        if (!printed) {
            outcome.failure =
                m_name + ": --location " + m_options.location + ": no such location in the cooked scene";
            return outcome;
        }
        // The JSON is made only when it is written, so that an output nobody asked for cannot fail the
        // cook; and whole before anything is written, so that a failure leaves no half-written file.
        if (!m_options.outputPath.empty() || !m_options.drawsOrExplains()) {
            std::ostringstream text;
            try {
                writeScene(*printed, text, m_options.location);
            } catch (const SceneWriteError& error) {
                outcome.failure = m_name + ": the cooked scene cannot be written: " + error.what();
                return outcome;
            }
            const std::string path =
                range || m_options.frame
                    ? frameFileName(m_options.outputPath, static_cast<int>(scene.time.currentTime))
                    : m_options.outputPath;
            outcome.failure = writeText(text.str(), path);
            if (!outcome.failure.empty()) {
                return outcome;
            }
        }
        std::ostringstream report;
        outcome.counts =
            reportCookProblems(*printed, m_options.location, report, prefix, resolveStartLocations(scene));
        outcome.report = report.str() + countsLine(outcome.counts, prefix) + "\n";
        return outcome;
    }

    // Pictures and the explanation of one frame; false (with the failure set) when they cannot be made.
    bool draw(const SceneFile& scene, const SceneLocation& cooked, int threads, FrameOutcome& outcome) const {
        const std::optional<SceneLocation> beforeResolve = cookBeforeResolve(scene, threads);
        const SceneLocation& unresolved = beforeResolve ? *beforeResolve : cooked;
        if (!m_options.explainPath.empty()) {
            std::ostringstream text;
            if (!writeExplanation(text, m_options.explainPath,
                                  {&scene.root, &unresolved, &cooked, beforeResolve.has_value()})) {
                outcome.failure = m_name + ": --explain " + m_options.explainPath +
                                  ": no such location in the cooked scene";
                return false;
            }
            outcome.explanation = text.str();
        }
        if (!m_options.svgPath.empty() || !m_options.pngPath.empty()) {
            Picture::PictureOptions pictureOptions;
            pictureOptions.title = m_options.scenePath;
            pictureOptions.cameraPath = m_options.cameraPath;
            try {
                const Picture::PictureModel model(scene.root, unresolved, cooked);
                outcome.failure =
                    Picture::writePictureFiles(model, pictureOptions, m_options.svgPath, m_options.pngPath);
            } catch (const Picture::PictureError& error) {
                outcome.failure = m_name + ": " + error.what();
            }
        }
        return outcome.failure.empty();
    }

    // Writes the bake of every frame; what glTF cannot hold goes to `warnings`.
    int writeGltf(std::vector<FrameOutcome>& outcomes, std::vector<std::string>& warnings) const {
        std::vector<Gltf::FrameTransforms> transforms;
        for (FrameOutcome& outcome : outcomes) {
            transforms.push_back(std::move(*outcome.transforms));
        }
        const FrameOutcome& first = outcomes.front();
        const Gltf::GltfBake bake =
            m_source.shot()
                ? Gltf::GltfBake(*m_source.shot())
                : Gltf::GltfBake(*first.cooked, first.beforeResolve ? &*first.beforeResolve : nullptr,
                                 transforms.front().offsets.front());
        const std::string path = m_options.outputPath;
        const std::string error = bake.write(transforms, m_options.fps, path,
                                             m_options.outputFormat == OutputFormat::Glb, warnings);
        if (!error.empty()) {
            return fail(error);
        }
        if (m_options.verbose) {
            std::cerr << "vexil-cook: wrote " << path << std::endl;
        }
        return 0;
    }

    const Options& m_options;
    const OpRegistry& m_registry;
    const SceneSource& m_source;
    int m_threads;
    std::string m_name;
};

// The threads to cook on: as asked, but never more than the machine has, since more only share the
// same cores (and the thread library would warn about them).
int cookThreads(const Options& options) {
    const int cores = std::max(1, tbb::info::default_concurrency());
    if (options.threads == 0 || options.threads <= cores) {
        return options.threads == 0 ? cores : options.threads;
    }
    if (!options.quiet) {
        std::cerr << "vexil-cook: --threads " << options.threads << ": the machine has " << cores
                  << (cores == 1 ? " core" : " cores") << "; cooking on " << cores << std::endl;
    }
    return cores;
}

} // namespace

int runCookCommand(const Options& options) {
    const std::vector<std::string> searchPath = OpRegistry::defaultSearchPath(options.pluginPaths);
    const OpRegistry registry = OpRegistry::load(searchPath, std::cerr);
    if (Qn::Attribute::setHost(hostServices()) != 0 || Qn::GroupBuilder::setHost(hostServices()) != 0) {
        return fail("the host offers no attribute suite");
    }
    if (options.verbose) {
        for (const std::string& folder : searchPath) {
            std::cerr << "vexil-cook: plug-in folder " << folder << '\n';
        }
        for (const std::string& type : registry.opTypes()) {
            std::cerr << "vexil-cook: op " << type << " from " << registry.libraryOf(type) << '\n';
        }
    }
    const std::string name = inputName(options.scenePath);
    if (!isLocationPath(options.location)) {
        return fail(name + ": --location \"" + options.location +
                    "\" is not a location path (such as /root/world)");
    }
    const int threads = cookThreads(options);
    const auto start = std::chrono::steady_clock::now();
    std::unique_ptr<SceneSource> source;
    try {
        source = std::make_unique<SceneSource>(options, registry);
    } catch (const InputTooLargeError& error) {
        return fail(std::string(error.what()) + " (raise it with --max-input-size)");
    } catch (const SceneFileError& error) {
        return fail(error.what());
    }
    if (options.verbose) {
        std::cerr << "vexil-cook: read " << name << " in " << seconds(secondsSince(start)) << std::endl;
    }
    return CookRun(options, registry, *source, threads).run();
}

} // namespace VexilHost
