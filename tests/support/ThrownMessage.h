// The text of the exception a call throws, for tests that check exact messages.
#pragma once

#include <exception>
#include <string>

namespace VexilTest {

/// The what() of the exception of kind `E` that `f` throws, or "<no exception>" when it returns.
template <typename E = std::exception, typename F> std::string thrownMessage(F&& f) {
    try {
        f();
    } catch (const E& e) {
        return e.what();
    }
    return "<no exception>";
}

} // namespace VexilTest
