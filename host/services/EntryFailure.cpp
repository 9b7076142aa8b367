#include "host/services/EntryFailure.h"

#include "host/attribute/CaughtException.h"
#include "host/engine/CookContext.h"
#include "host/engine/OpInstance.h"

#include <iostream>

namespace VexilHost {

void reportEntryFailure(const char* entry, VexilCookHandle cook) noexcept {
    const char* what = caughtExceptionText();
    if (cook != nullptr) {
        CookContext& context = CookContext::from(cook);
        try {
            context.setError(context.traversal().op->type() + " Op: host caught an exception in " + entry +
                             ": " + what);
            return;
        } catch (...) {
            // Most likely out of memory: the line below needs none.
            std::cerr << "vexil-cook: " << context.path() << ": " << entry << " failed: " << what << '\n';
            return;
        }
    }
    std::cerr << "vexil-cook: " << entry << " failed: " << what << '\n';
}

} // namespace VexilHost
