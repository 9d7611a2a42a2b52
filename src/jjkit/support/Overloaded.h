#pragma once

namespace vorda {

/// One visitor from several lambdas, for `std::visit` over a variant of
/// cases: `std::visit(Overloaded{[](const A&) {…}, [](const B&) {…}}, value)`.
template <typename... Cases>
struct Overloaded : Cases... {
    using Cases::operator()...;
};
template <typename... Cases>
Overloaded(Cases...) -> Overloaded<Cases...>;

}  // namespace vorda
