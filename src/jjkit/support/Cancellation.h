#pragma once

#include <exception>

namespace vorda {

/// Thrown by blocking waits whose `std::stop_token` was triggered.
struct CancellationError : std::exception {
    const char* what() const noexcept override { return "cancelled"; }
};

}  // namespace vorda
