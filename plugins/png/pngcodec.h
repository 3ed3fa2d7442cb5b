// libpng's structures with an owner, a device and a place for messages.
#pragma once

#include <QIODevice>
#include <QLoggingCategory>

#include <csetjmp>
#include <png.h>

namespace vellum::plugin {

/// Base of decoder and encoder. libpng reports errors by a jump: every call of it that can fail
/// stands in a callable given to guarded(), which jumps land in.
class PngCodec
{
    Q_DISABLE_COPY(PngCodec)

protected:
    PngCodec(QIODevice &device, const QLoggingCategory &category)
        : m_device(device), m_category(category)
    {
    }
    ~PngCodec() = default;

    /// Runs \a calls, which must not have objects with destructors alive when it calls libpng.
    /// \return false when libpng gave up
    template <typename Calls>
    [[nodiscard]] bool guarded(Calls calls)
    {
        if (setjmp(png_jmpbuf(m_png))) // NOLINT(cert-err52-cpp): libpng's way
            return false;
        calls();
        return true;
    }

    static void fail(png_structp png, png_const_charp message);
    static void warn(png_structp png, png_const_charp message);

    QIODevice &m_device;
    const QLoggingCategory &m_category;
    png_structp m_png = nullptr;
    png_infop m_info = nullptr;
};

} // namespace vellum::plugin
