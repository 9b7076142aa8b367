// Proves that the thread-sanitizer run sees through the thread pool: run with "race", two pool tasks
// write one variable unsynchronised and the sanitizer must report it; run with "clean", tasks write
// their own slots and the caller reads them after the parallel loop, which must pass without a report
// (it does only when the pool's own synchronisation is instrumented too).
#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

int main(int argc, char** argv) {
    const bool race = argc > 1 && std::strcmp(argv[1], "race") == 0;
    tbb::task_arena arena(2);
    long shared = 0;
    std::vector<std::string> slots(256);
    arena.execute([&] {
        tbb::parallel_for(size_t(0), slots.size(), [&](size_t i) {
            slots[i] = std::string(32, char('a' + i % 26));
            if (race) {
                shared += long(i);
                std::this_thread::yield();
            }
        });
    });
    size_t total = 0;
    for (const std::string& s : slots) {
        total += s.size();
    }
    std::printf("%zu characters, %ld\n", total, shared);
    return total == slots.size() * 32 ? 0 : 1;
}
