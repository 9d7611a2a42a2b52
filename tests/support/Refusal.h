#pragma once

#include <functional>
#include <string>

#include "jjkit/client/JJError.h"

namespace vorda::testing {

/// The sentence of the `UnsafeOperation` that `call` throws; "no refusal"
/// when it returns, "other error: …" for any other `JJError`.
inline std::string refusal(const std::function<void()>& call) {
    try {
        call();
    } catch (const JJError& error) {
        if (error.as<JJError::UnsafeOperation>() != nullptr) {
            return error.errorDescription();
        }
        return "other error: " + error.errorDescription();
    }
    return "no refusal";
}

}  // namespace vorda::testing
