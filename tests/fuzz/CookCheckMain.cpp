// vexil-cook-check: cooks scene files inside this process with the real engine and plug-in, with one
// thread, two threads and two threads in abort mode, and fails unless the three results agree and
// every attribute and builder is released again. Used on representative scenes by the leak check
// (under valgrind) and the thread-sanitizer run. Prints one line per scene and exits 0, or 1 for a
// scene the reader refuses; a broken invariant aborts.
#include "tests/fuzz/InProcessCook.h"
#include "tests/fuzz/LiveCounts.h"

#include <cstdio>
#include <fstream>
#include <sstream>

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: vexil-cook-check SCENE.json...\n");
        return 2;
    }
    int status = 0;
    for (int i = 1; i < argc; ++i) {
        std::ifstream in(argv[i], std::ios::binary);
        std::stringstream text;
        text << in.rdbuf();
        const VexilFuzz::CookCheckResult result = VexilFuzz::cookChecked(text.str(), argv[i]);
        if (!result.readable || !in) {
            std::fprintf(stderr, "%s: the scene cannot be read\n", argv[i]);
            status = 1;
            continue;
        }
        const auto counts = VexilFuzz::liveCounts();
        std::printf("%s: 3 cooks agree (%zu bytes), %s live afterwards\n", argv[i], result.cooked.size(),
                    VexilFuzz::describe(counts).c_str());
    }
    return status;
}
