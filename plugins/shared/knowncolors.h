// Colours that have been converted already: photographs repeat most of theirs close by.
#pragma once

#include <QtGlobal>

#include <memory>

namespace vellum::plugin {

/// Runs a conversion of pixels of 32 bits to others of 32 bits for colours it has not met lately,
/// and looks up the rest. That takes a fraction of the time of interpolating in a table of three
/// or four dimensions, and hardly more where no colour repeats.
///
/// One object serves one conversion, on one thread at a time.
class KnownColors
{
    Q_DISABLE_COPY(KnownColors)

public:
    /// \param colorBits  of a pixel, in memory order; the conversion must ignore the others
    explicit KnownColors(quint32 colorBits);
    ~KnownColors();

    /// Converts \a count pixels from \a in to \a out, which may be the same.
    /// \param function  function(out, in, count) converts; out has ones in all its bits before
    template <typename Function>
    void convert(uchar *out, const uchar *in, int count, Function function)
    {
        for (int done = 0; done < count; done += kPiece) {
            const int pixels = qMin(kPiece, count - done);
            const Unknown unknown = findUnknown(in + qptrdiff(done) * 4, pixels);
            if (unknown.count > 0)
                function(unknown.out, unknown.in, unknown.count);
            lookUp(out + qptrdiff(done) * 4, pixels);
        }
    }

private:
    static constexpr int kPiece = 1 << 13; // pixels; so that everything stays in the caches

    struct Unknown
    {
        uchar *out;
        const uchar *in;
        int count;
    };
    struct Tables;

    Unknown findUnknown(const uchar *in, int count);
    void lookUp(uchar *out, int count) const;
    void forget();

    std::unique_ptr<Tables> m_tables;
    quint32 m_colorBits;
    int m_known = 0; // results in the tables
};

} // namespace vellum::plugin
