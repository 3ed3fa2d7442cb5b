#include "jpeg/errors.h"

namespace vellum::plugin {

// Silent until somebody asks for it, as with QT_LOGGING_RULES="vellum.plugin.*=true".
Q_LOGGING_CATEGORY(jpegLog, "vellum.plugin.jpeg", QtFatalMsg)

namespace {

QByteArray messageOf(j_common_ptr codec)
{
    char text[JMSG_LENGTH_MAX] = {};
    codec->err->format_message(codec, text);
    return text;
}

void logMessage(j_common_ptr codec) { qCWarning(jpegLog, "%s", messageOf(codec).constData()); }

[[noreturn]] void onError(j_common_ptr codec)
{
    logMessage(codec); // of a function of its own, which has cleaned up before the jump
    static_cast<JpegErrors *>(codec->err)->leave();
}

void onMessage(j_common_ptr codec, int level)
{
    if (level >= 0)
        return; // what a file holds is not worth a message
    auto *const errors = static_cast<JpegErrors *>(codec->err);
    if (errors->num_warnings++ == 0)
        logMessage(codec);
    else
        qCDebug(jpegLog, "%s", messageOf(codec).constData());
    if (errors->warned)
        errors->warned(codec, errors->msg_code);
}

} // namespace

JpegErrors::JpegErrors() : jpeg_error_mgr(), escape()
{
    jpeg_std_error(this);
    error_exit = onError;
    emit_message = onMessage;
    output_message = logMessage;
}

void JpegErrors::leave() { std::longjmp(escape, 1); }

} // namespace vellum::plugin
