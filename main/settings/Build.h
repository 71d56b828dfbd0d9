// Which build of the program this is. Any thread.
#pragma once

#include <QString>

#include <optional>

namespace corvella::Build {

// "1.0.0"; none where the build was given none.
[[nodiscard]] std::optional<QString> version();

// A whole number that grows from build to build; none where the build was given none.
[[nodiscard]] std::optional<QString> number();

// Both in one line for people, "Version 1.0.0 (1)", with a question mark for what there is not.
[[nodiscard]] QString text();

} // namespace corvella::Build
