// The part of a file that is wanted, asked of its decoder before it reads.
#pragma once

#include <vellum/io/decoder_p.h>
#include <vellum/io/openimage.h>

#include <QRect>

namespace vellum::io {

[[nodiscard]] OpenResult noSuchPage(int page);

/// Goes to the page that \a options name and has the decoder leave out what lies outside the
/// region, and reduce the rest, if it can.
class PageRequest
{
    Q_DISABLE_COPY(PageRequest)

public:
    /// Both must outlive the request.
    PageRequest(Decoder &decoder, const OpenOptions &options);

    /// \return NotFound when there is no such page or region, with the page's info() all the same
    [[nodiscard]] OpenResult make();

    /// Has the decoder read all of the page again.
    void withdraw();

    const PictureInfo &info() const { return m_info; } ///< of the page, as it is stored
    QSize decodedSize() const { return m_decodedSize; } ///< of what the decoder will give
    bool cuts() const { return m_cuts; } ///< The region is still to be cut out of that.
    bool scales() const { return m_scales; } ///< It is still to be reduced.

    /// The region in a picture of \a size as it is stored.
    QRect storedRegion(const QSize &size) const;

private:
    Decoder &m_decoder;
    const OpenOptions &m_options;
    PictureInfo m_info;
    QSize m_decodedSize;
    bool m_cuts = false;
    bool m_scales = false;
    bool m_hasRegion = false; // the decoder
    bool m_hasSize = false; // the decoder
};

} // namespace vellum::io
