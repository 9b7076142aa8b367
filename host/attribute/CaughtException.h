// The text of the exception a catch block is handling, for the host's reports of failures it caught.
#pragma once

#include <exception>

namespace VexilHost {

/// The `what()` of the exception being handled, or "unknown exception" for one that is not a
/// std::exception. Valid until the catch block that handles it ends. Call only inside a catch block.
inline const char* caughtExceptionText() noexcept {
    try {
        throw;
    } catch (const std::exception& error) {
        return error.what();
    } catch (...) {
        return "unknown exception";
    }
}

} // namespace VexilHost
