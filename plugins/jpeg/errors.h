// libjpeg's errors and warnings: logged, counted, and turned into results.
#pragma once

#include "jpeg/library.h"

#include <QLoggingCategory>

#include <csetjmp>
#include <type_traits>

namespace vellum::plugin {

Q_DECLARE_LOGGING_CATEGORY(jpegLog) // "vellum.plugin.jpeg"

/// What libjpeg calls when something is wrong. It expects never to get back from an error.
///
/// The first warning of a picture is logged as such and the others for debugging: a damaged file
/// has one for each of its blocks.
struct JpegErrors : jpeg_error_mgr
{
    Q_DISABLE_COPY(JpegErrors)

    JpegErrors();

    /// Called for every warning, with its number in jerror.h. Must return.
    void (*warned)(j_common_ptr codec, int code) = nullptr;

    /// Ends the present call of libjpeg as an error does, without a message.
    [[noreturn]] void leave();

    std::jmp_buf escape;
};

/// Runs \a call, which calls libjpeg. \return false when that ended in an error
///
/// Such an end jumps out of all functions between here and libjpeg: neither \a call nor anything
/// it calls may hold objects with destructors meanwhile.
template <typename Call>
[[nodiscard]] bool runGuarded(JpegErrors &errors, const Call &call)
{
    static_assert(std::is_trivially_destructible_v<Call>);
    if (setjmp(errors.escape) != 0) // NOLINT(modernize-avoid-setjmp-longjmp): libjpeg's way
        return false;
    call();
    return true;
}

} // namespace vellum::plugin
