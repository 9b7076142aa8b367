// Fuzz target: whole cooks. The bytes drive a structured generator that writes a scene of a few
// locations with constraints of every registered type and hostile data; the scene is cooked through
// the real host engine and plug-in with 1 and 2 threads (and in abort mode), which must agree and
// release everything they made. Set VEXIL_FUZZ_PRINT=1 to see the generated scene.
#include "tests/fuzz/FuzzCheck.h"
#include "tests/fuzz/InProcessCook.h"
#include "tests/fuzz/SceneGenerator.h"

#include <cstdint>
#include <cstdlib>
#include <iostream>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    VexilFuzz::FuzzBytes in(data, size);
    const std::string text = VexilFuzz::generateScene(in).dump(1);
    static const bool print = std::getenv("VEXIL_FUZZ_PRINT") != nullptr;
    if (print) {
        std::cerr << text << "\n";
    }
    const VexilFuzz::CookCheckResult result = VexilFuzz::cookChecked(text, "generated.json");
    // The generator writes only valid encodings: a refusal is a reader or generator defect.
    VexilFuzz::check(result.readable, "the scene reader refused a generated scene:\n" + text);
    if (print) {
        std::cerr << result.cooked << "\n";
    }
    return 0;
}
