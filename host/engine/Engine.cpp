#include "host/engine/Engine.h"

#include "host/engine/StageGraph.h"
#include "host/services/HostServices.h"

#include <boost/thread/thread.hpp>
#include <tbb/global_control.h>
#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>

#include <exception>
#include <stdexcept>

namespace VexilHost {

namespace {

// Cooks nest (a query cooks what it needs on the asking thread) and the traversal recurses per
// level, so worker threads get more stack than the default.
constexpr size_t kWorkerStackBytes = 64u << 20;

/// Runs `cook` on a thread of its own with the workers' stack size, and waits for it; rethrows what
/// it threw. The thread that starts a parallel cook takes part in it, and the scheduler lets a thread
/// take over waiting work only while it has stack to spare by the stack size the workers are given: a
/// calling thread with a smaller stack (8 MiB by default) counts as out of stack and only waits, so
/// a group of 1,000 locations cooked on 2 threads was cooked almost entirely by the one worker.
template <class Cook> void runWithWorkerStack(Cook&& cook) {
    std::exception_ptr failure;
    boost::thread::attributes attributes;
    attributes.set_stack_size(kWorkerStackBytes);
    boost::thread thread(attributes, [&] {
        try {
            cook();
        } catch (...) {
            failure = std::current_exception();
        }
    });
    thread.join();
    if (failure) {
        std::rethrow_exception(failure);
    }
}

/// Fills `out` with the location whose nodes on every step are `column`, and everything below it.
void buildSubtree(StageGraph& graph, const Column& column, const std::string& path, SceneLocation& out,
                  std::atomic<int64_t>* locationsCooked) {
    const int last = graph.lastStage();
    const Node& node = nodeAt(column, last);
    out.attrs = node.attrs();
    if (locationsCooked) {
        locationsCooked->fetch_add(1, std::memory_order_relaxed);
    }
    const size_t count = node.numChildren();
    out.children.resize(count);
    for (size_t i = 0; i < count; ++i) {
        out.children[i].name = node.childName(i);
    }
    auto cookChild = [&](size_t i) {
        const std::string& name = out.children[i].name;
        std::string childPath;
        childPath.reserve(path.size() + 1 + name.size());
        childPath.append(path).append(1, '/').append(name);
        const Column childColumn = graph.childColumn(column, childPath, last, i);
        buildSubtree(graph, childColumn, childPath, out.children[i], locationsCooked);
    };
    if (count == 1) {
        cookChild(0);
    } else if (count > 1) {
        tbb::parallel_for(size_t(0), count, cookChild);
    }
}

} // namespace

struct Engine::Impl {
    const SceneFile& scene;
    const OpRegistry& registry;
    EngineOptions options;
    CookStatistics statistics;
};

Engine::Engine(const SceneFile& scene, const OpRegistry& registry, const EngineOptions& options)
    : m_impl(std::make_unique<Impl>(Impl{scene, registry, options, {}})) {}

Engine::~Engine() = default;

SceneLocation Engine::cook() {
    return cook("/root");
}

SceneLocation Engine::cook(const std::string& path) {
    attributeSuite();
    StageGraph graph(m_impl->scene, m_impl->registry, m_impl->options.abortMode);
    std::string where = path;
    while (where.size() > 1 && where.back() == '/') {
        where.pop_back();
    }
    const int threads = m_impl->options.threads > 0 ? m_impl->options.threads : tbb::task_arena::automatic;
    tbb::global_control stack(tbb::global_control::thread_stack_size, kWorkerStackBytes);
    SceneLocation out;
    bool found = false;
    auto cookAll = [&] {
        tbb::task_arena arena(threads);
        arena.execute([&] {
            try {
                const Column column = graph.columnOf(graph.lastStage(), where);
                if (column.empty()) {
                    return;
                }
                found = true;
                out.name = where.substr(where.rfind('/') + 1);
                buildSubtree(graph, column, where, out, m_impl->options.locationsCooked);
            } catch (...) {
                graph.clear();
                throw;
            }
        });
        m_impl->statistics.cooks = graph.finishedCooks();
        m_impl->statistics.abortedAttempts = graph.abortedAttempts();
        // Every cooked location, and with them the op instances and their private data, goes here, on
        // the cook's own threads (the graph's destructor would free them on the caller's).
        arena.execute([&] { graph.clear(); });
    };
    if (threads == 1) {
        // Nobody to share the work with: the calling thread cooks, with the memory its allocator kept
        // from earlier cooks (a new thread's allocator memory goes back to the system when freed, and a
        // large cook then pays for faulting it in again).
        cookAll();
    } else {
        runWithWorkerStack(cookAll);
    }
    if (!found) {
        throw std::runtime_error("no location " + path + " in the cooked scene");
    }
    return out;
}

CookStatistics Engine::statistics() const {
    return m_impl->statistics;
}

} // namespace VexilHost
