// What the operating system sees of a test: memory, and child processes with limits of their own.
#pragma once

#include <QtGlobal>

#include <functional>

namespace vellum::test {

/// True in a build whose sanitizer reserves huge address ranges and adds memory of its own, so
/// that limits and figures of memory say nothing.
constexpr bool kSanitized =
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    true;
#else
    false;
#endif

qint64 residentBytes(); ///< Memory of this process that is backed by pages now.
qint64 reservedBytes(); ///< Address space that this process has mapped.

/// Runs \a body, with expectations in it, in a child process that may map no more than \a bytes
/// of address space beyond what this process has. The child's failures are printed.
/// \return true when the child came to its end without a failed expectation
bool passesWithinAddressSpace(qint64 bytes, const std::function<void()> &body);

} // namespace vellum::test
