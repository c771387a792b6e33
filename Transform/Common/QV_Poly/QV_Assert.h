// Assertions of the geometry and of the polygon scans. They stop release builds too: each one
// guards a contract that the engine keeps by construction, so that a failure is a defect of the
// program and going on would write outside an array or divide by zero.
#pragma once

/// Source file that every geometry assertion names, whichever translation unit it stands in.
inline constexpr char kQvAssertSource[] = "Transform/Common/QV_Poly";

/// Prints the text of a failed assertion, the function's name and the source file's name on
/// standard error, then stops the program with abort(). Never returns.
[[noreturn]] void QV_AssertFailed(char const* text, char const* function, char const* sourceFile);

/// Stops the program with `text` unless `condition` holds. A null statement otherwise.
#define QV_ASSERT(condition, text)                                      \
    do {                                                                \
        if (!(condition)) {                                             \
            QV_AssertFailed((text), static_cast<char const*>(__func__), \
                            static_cast<char const*>(kQvAssertSource)); \
        }                                                               \
    } while (false)
