// TIFF files, of one page or several.
#pragma once

#include "shared/imagehandler.h"
#include "tiff/writeform.h"

namespace vellum::plugin::tiff {

bool isTiff(QIODevice &device); ///< Only peeks.

/// Pages are the pictures of the file's chain of directories. read() reads the current one, the
/// first to begin with. A Vellum that is the head of a chain is written with all that follow it,
/// a page each.
class TiffHandler : public ImageHandler
{
public:
    TiffHandler();
    ~TiffHandler() override;

    int imageCount() const override;
    int currentImageNumber() const override;
    bool jumpToImage(int number) override;
    bool jumpToNextImage() override;

protected:
    bool recognises(QIODevice &device) const override;
    std::unique_ptr<Decoder> makeDecoder(QIODevice &device) const override;
    std::unique_ptr<Encoder> makeEncoder(QIODevice &device,
                                         const WriteOptions &options) const override;
    QVector<const QImage *> pagesOf(const QImage &image) const override;
    QList<QByteArray> subTypes() const override { return writeSubTypes(); }

private:
    struct Input;
    Input *input(QIODevice &device) const;

    mutable std::unique_ptr<Input> m_input; // found behind const functions
    mutable int m_pages = -1; // not counted yet
    int m_page = 0;
};

} // namespace vellum::plugin::tiff
