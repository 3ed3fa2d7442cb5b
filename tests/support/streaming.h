// Pictures that flow from file to file, and the same by way of an image.
#pragma once

#include <vellum/vellum.h>

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

#include <ostream>
#include <string>
#include <support/images.h>

namespace vellum {

inline void PrintTo(const StreamResult &result, std::ostream *out)
{
    *out << "outcome " << int(result.outcome) << ", obstacle \"" << qPrintable(result.obstacle)
         << "\", read " << int(result.opened.status) << " \"" << qPrintable(result.opened.message)
         << "\", saved " << int(result.saved.status) << " \"" << qPrintable(result.saved.message)
         << '"';
}

} // namespace vellum

namespace vellum::test {

/// What is asked of both ways.
struct Wishes
{
    OpenOptions open = decoded();
    SaveOptions save = asItIs();
    RowConversion conversion;

    static OpenOptions decoded();
    static SaveOptions asItIs();
};

struct Copied
{
    OpenResult opened;
    SaveResult saved;
    QByteArray file; ///< empty unless it was saved
};

/// By PictureFile::read() and saveImage(), with the conversion between them.
Copied copiedWhole(const QString &file, const Wishes &wishes);

struct Streamed
{
    StreamResult result;
    QByteArray file; ///< what was written, complete or not
};

Streamed streamed(const QString &file, const Wishes &wishes);

/// \a wishes with memory for no more than the fewest rows of a picture so wide and of any format.
Wishes inSmallWindow(Wishes wishes, int width);

/// Success when streaming works and gives the file that copiedWhole() gives, in a small window and
/// in a large one.
testing::AssertionResult streamsAlike(const QString &file, const Wishes &wishes);

/// A folder for the files of a test, with the library's own plugins in place.
class StreamTest : public testing::Test
{
protected:
    void SetUp() override;

    /// Stores \a content under \a name. \return the path
    QString store(const QString &name, const QByteArray &content) const;

    /// Saves \a image under \a name, by way of saveImage(). \return the path
    QString save(const QString &name, const Vellum &image, const SaveOptions &options = {}) const;

private:
    QTemporaryDir m_folder;
};

/// Noise in \a format, without what files do not hold.
Vellum makePicture(int w, int h, QImage::Format format);

} // namespace vellum::test
