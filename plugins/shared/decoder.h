// What a format supplies for reading: its header, then rows one at a time.
#pragma once

#include "shared/picture.h"

#include <QRect>

#include <functional>
#include <utility>

namespace vellum::plugin {

/// Every \c stepX th pixel from \c x on, of every \c stepY th row from \c y on.
struct Lattice
{
    int x = 0;
    int y = 0;
    int stepX = 1;
    int stepY = 1;
};

/// Decodes one picture. Made for a device by a handler; calls come in the order of declaration.
///
/// A codec's own errors end the call they occur in with false (or an empty rectangle); nothing is
/// thrown or jumped over. The decoder logs why, in its category.
class Decoder
{
    Q_DISABLE_COPY(Decoder)

public:
    Decoder() = default;
    virtual ~Decoder() = default;

    /// Reads as far as the pixels and fills \a picture. No memory for pixels is taken yet.
    [[nodiscard]] virtual bool readHeader(Picture &picture) = 0;

    /// Changes \a picture as the read options of the image ask, see readoptions.h. Most formats
    /// have nothing to change.
    virtual void obey(unsigned int readOptions, Picture &picture);

    /// Bytes of pixels that one byte of the file can stand for at most. A file that claims more
    /// is refused before memory is taken for it.
    virtual int maxExpansion() const = 0;

    /// The size at which the whole picture is decoded from now on: that of the header, or, where
    /// the codec can do it at less cost, a smaller one with both sides at least \a atLeast. An
    /// empty size, as here, stands for that of the header.
    virtual QSize reduce(const QSize &atLeast);

    /// Reads, ahead of the pixels, what readEnd() would add to \a picture once the rows down to
    /// \a lastRow have come.
    /// \return false when that cannot be known yet
    [[nodiscard]] virtual bool foresee(int lastRow, Picture &picture);

    /// What start() asks now and then where it has much to read before the first row; false tells
    /// it to fail at once. Empty for nobody to ask.
    void setPoll(std::function<bool()> poll);

    /// What will be delivered when \a wanted (in pixels of the size that reduce() answered) is
    /// asked for: a rectangle that holds it. Rows above it never come, rows below \a wanted are
    /// not asked for. With picture.bottomUp, y counts rows from the bottom.
    [[nodiscard]] virtual QRect start(const QRect &wanted) = 0;

    /// The interlaced parts of the picture, in file order; empty, as here, for plain rows. An
    /// interlaced picture has neither input colours nor extra channels, and is not reduced.
    virtual QVector<Lattice> lattices() const;

    /// The next row: pixels in picture.format, or in picture.inputColors when that is set.
    ///
    /// Delivered rows come one after the other, columns of the delivered rectangle only. Of an
    /// interlaced picture every row of every lattice comes, its pixels side by side.
    /// \param row    room for a delivered row, rounded up to 4 bytes
    /// \param extra  room for its extra channels, interleaved; null when there are none
    /// \return false when there is no whole row any more
    [[nodiscard]] virtual bool readRow(uchar *row, uchar *extra) = 0;

    /// Whether pixels of the rows that came are wrong, in a file that could be decoded for all
    /// that. Asked when all have come.
    virtual bool isDamaged() const;

    /// Called when all rows have come, to read what follows them. Adds to \a picture; whoever
    /// does overrides foresee() too.
    virtual void readEnd(Picture &picture);

protected:
    bool mayGoOn() const { return !m_poll || m_poll(); }

private:
    std::function<bool()> m_poll;
};

inline void Decoder::obey(unsigned int, Picture &) { }
inline QSize Decoder::reduce(const QSize &) { return {}; }
inline bool Decoder::foresee(int, Picture &) { return true; }
inline void Decoder::setPoll(std::function<bool()> poll) { m_poll = std::move(poll); }
inline QVector<Lattice> Decoder::lattices() const { return {}; }
inline bool Decoder::isDamaged() const { return false; }
inline void Decoder::readEnd(Picture &) { }

} // namespace vellum::plugin
