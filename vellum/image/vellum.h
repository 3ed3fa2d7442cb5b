// The image class: a QImage that can also hold rows too many for one allocation.
#pragma once

#include <vellum/export.h>
#include <vellum/image/attachments.h>
#include <vellum/image/rowblocks.h>

#include <QByteArray>
#include <QExplicitlySharedDataPointer>
#include <QImage>
#include <QList>

#include <atomic>
#include <memory>

class QImageReader;
class Vellum;

namespace vellum::image {
class HeldAttachments;
class RowRuns;
class RowStore;
class RowWindow;
}

namespace vellum {
struct PressColors;
VELLUM_EXPORT bool prepareSaveCmyk(Vellum &image, const PressColors &colors);
}

namespace vellum::color {
class ProfileCache;
struct SaveTransform;
}

/// An image whose rows lie in one buffer, as in any QImage (a plain image), or in a store of
/// separately allocated blocks (a big image), with what print-oriented and layered files carry
/// beside their pixels.
///
/// \par Rows
/// Reach rows through scanLineEx(), scanLine() or the polled functions of
/// <vellum/image/rowaccess.h>, always by index: neighbouring rows of a big image need not be
/// adjacent. The base QImage of a big image knows size, format, stride, colour table and the
/// other metadata, but holds no rows. What QImage itself offers and this class does not hide
/// (bits(), pixel(), QPainter and so on) therefore never sees the pixels of a big image; with
/// createBig() it sees zeros.
///
/// \par Sharing
/// Copying and assigning share the pixels. A plain image is copied when it is written to through
/// scanLine() while it is shared, as a QImage is. The rows of a big image are never copied behind
/// the caller's back: whoever shares them sees every write. They are freed when the last Vellum
/// that shows them is destroyed, assigned to or given another store. Metadata (text, resolution,
/// colour table and so on) belongs to each image of its own; setting it never copies pixels.
///
/// \par Attachments
/// EXIF and layer records belong to the image object that was given them. Copies do not get them.
/// They are released with the image object, provided that no other image shares its pixels at that
/// moment; an assignment to the image forgets them without releasing them.
///
/// \par Threads
/// An image object is not locked. Different threads may read rows of one image, or write
/// different rows of a big or unshared one, at the same time, and may use, copy and destroy image
/// objects of their own that share pixels.
class VELLUM_EXPORT Vellum : public QImage
{
public:
    /// \name Construction
    /// @{

    /// A null image.
    Vellum();

    /// Shares \a other's pixels, plain or big, as operator=(const Vellum &) does. Everything
    /// that operator does not take over has its default.
    Vellum(const Vellum &other);

    /// Shares \a image's pixels. Never big, even if \a image is the base of a big image.
    Vellum(const QImage &image);

    /// A plain image of \a w x \a h pixels, undefined content; null when it cannot be had.
    Vellum(int w, int h, QImage::Format format);

    /// Wraps \a data, \a h rows of \a w pixels padded to a multiple of 4 bytes, without copying.
    ///
    /// \a data must stay valid until the last image that shares it is gone; then
    /// \a cleanup(\a cleanupInfo) is called. A reader that will call alloc_buffer() may pass a
    /// smaller buffer: the base of a big image is never read or written by this library.
    Vellum(uchar *data, int w, int h, QImage::Format format, void (*cleanup)(void *) = nullptr,
           void *cleanupInfo = nullptr);

    ~Vellum() override;

    /// Shares \a other's pixels and takes over its ICC profile and CMYK-origin flag.
    ///
    /// Attachments of this image are forgotten, not released, and its transforms are dropped (that
    /// for saving stays with the other images of its chain). Progress callback,
    /// chain links, offset, layer groups, read options, save-as-CMYK flag, colour-space factory,
    /// channel buffer and detach state stay as they were.
    Vellum &operator=(const Vellum &other);

    /// Shares the pixels of a plain image. Attachments of this image are forgotten, not released,
    /// and its transforms are dropped; everything else stays as it was.
    ///
    /// Callers rely on a quirk: a big image whose pixels others still share keeps its store (and
    /// isBigImage()); assign a Vellum to be sure to drop it.
    Vellum &operator=(const QImage &image);

    /// Would exchange the base and leave the stores where they are; use std::swap.
    void swap(QImage &other) = delete;

    /// The Vellum behind \a image: null when \a image is null or no Vellum.
    static Vellum *getVellum(QImage *image);

    /// A QImage that shares this image's data. That of a big image holds no pixels.
    QImage toImage() const;

    /// Makes \a image a plain image of \a w x \a h pixels, undefined content, keeping its ICC
    /// profile. Otherwise acts as an assignment to \a image.
    /// \return false, with \a image null, when the size or format is invalid or memory runs out
    static bool create(Vellum &image, int w, int h, QImage::Format format);

    /// Makes \a image a big image of \a w x \a h pixels, undefined content, keeping its ICC
    /// profile. Otherwise acts as an assignment to \a image.
    ///
    /// The base QImage stands on address space of the nominal size that costs no memory, so that
    /// bytesPerLine(), sizeInBytes() and the rest answer truthfully and a QImage function that
    /// knows nothing of big images reads zeros. The rows cost memory as they are written.
    /// \return false, with \a image null, when the size or format is invalid or memory runs out
    static bool createBig(Vellum &image, int w, int h, QImage::Format format);

    /// A plain image of this image's size and format, filled as by fill(uint) with \a fill; null
    /// when this image is null or memory runs out.
    Vellum createImage(uint fill) const;
    /// @}

    /// \name Row access
    /// @{

    /// Gives the image a store for \a height rows of \a bytesPerLine bytes and so makes it big.
    ///
    /// A store of its own is dropped first; images that share it keep it. The content of the rows
    /// is undefined. Size and format of the image do not change, and should fit: a row that the
    /// store lacks is null, and only storedBytesPerLine() bytes of a row may be touched. A size
    /// of zero succeeds, and every row is null.
    ///
    /// \return false when the blocks cannot be had or a size is negative. The image is then left
    ///         without a store and null, or, when others share its data, unusable until it is
    ///         assigned to. The debug message "alloc_buffer fail, index= " names the block.
    bool alloc_buffer(qint64 bytesPerLine, int height);

    /// True when the rows are in a row-block store.
    bool isBigImage() const;

    /// First byte of row \a y; null when \a y is below 0, not below height(), or a row that the
    /// store of a big image does not hold.
    ///
    /// The mutable form copies the pixels of a plain image that is shared, except between
    /// beginDetach() and endDetach().
    uchar *scanLineEx(int y);
    const uchar *scanLineEx(int y) const; ///< \overload

    /// The same as scanLineEx(); hides QImage::scanLine.
    uchar *scanLine(int y);
    const uchar *scanLine(int y) const; ///< \overload

    /// Bytes that may be touched in a row: bytesPerLine(), or the stride of a store made narrower.
    int storedBytesPerLine() const;

    /// From here to endDetach(), scanLineEx() of a plain image returns rows of the buffer as it
    /// is now, without checking whether it is shared.
    ///
    /// For loops that write many rows of a fresh, unshared image. Rows of a shared image would be
    /// changed for all who share them, and assigning to the image in between leaves the rows
    /// pointing at the old buffer.
    void beginDetach();
    void endDetach(); ///< Ends beginDetach().

    /// Writes \a pixel to every pixel: as many of its low bytes as a pixel has, least significant
    /// first; on 64-bit formats the value twice; below 8 bits per pixel its low byte to every byte.
    void fill(uint pixel);

    /// fill(color.rgba()): the ARGB32 value as it is, whatever the format. Callers that fill
    /// 32-bit images rely on it; there is no conversion to the image's format.
    void fill(const QColor &color);
    void fill(Qt::GlobalColor color); ///< fill(QColor(color))
    /// @}

    /// \name Copy and merge
    /// @{

    /// A plain image of the part \a rect of this image; the whole of it for a null rectangle.
    ///
    /// What of \a rect lies outside this image is filled with getFillColorForRotate(). Colour
    /// table, QImage offset, resolution, device pixel ratio, text, colour space, ICC profile and
    /// CMYK-origin flag go along. Reports no progress.
    /// \return null when this image is null, a side of \a rect alone is below 1, or memory runs
    ///         out
    Vellum copyEx(const QRect &rect = QRect()) const;
    Vellum copyEx(int x, int y, int w, int h) const; ///< copyEx(QRect(x, y, w, h))
    Vellum copy(const QRect &rect = QRect()) const; ///< The same as copyEx().
    Vellum copy(int x, int y, int w, int h) const; ///< The same as copyEx().

    /// Pastes the pixels of \a source over the area \a rect of this image, unconverted.
    ///
    /// \a rect is in pixels of this image, may reach beyond its edges, and must have the size of
    /// \a source: with another size nothing happens. With another number of bytes per pixel
    /// nothing happens but the debug message "Vellum::mergerImage error,channels !=
    /// dst_channels". One-bit images, of no whole byte per pixel, stay as they are.
    ///
    /// A \a source that is a Vellum is polled for each row, with the number of its rows done, and
    /// may be big; when its callback answers false, the rows already pasted stay. Neither image
    /// needs the other's storage, and \a source may be this image.
    void mergerImage(const QImage &source, const QRect &rect);
    /// @}

    /// \name Geometry
    /// @{

    /// A plain image of this one with left and right (\a horizontal) or top and bottom
    /// (\a vertical) exchanged, and with its colour table; other metadata does not go along. With
    /// both flags clear, or of a single pixel, a copy that shares the pixels.
    ///
    /// See vellum::mirrored() for one that stays big and keeps profile and metadata, and
    /// vellum::mirrorInPlace().
    /// \return null when this image is null or memory runs out
    ///
    /// Vertical mirroring alone hands the percentage done to set_progress() after every row;
    /// otherwise no progress is reported. The answer is ignored.
    Vellum mirrored(bool horizontal = false, bool vertical = true) const;

    /// A plain image of this one turned clockwise by \a angle degrees, with its colour table;
    /// other metadata does not go along.
    ///
    /// Multiples of 90 degrees are exact. So are, by design, angles up to a degree below them:
    /// 89.5 turns by 90, and 359.5, 360.5 and -0.5 give a copy that shares the pixels, as 0 does.
    /// Other angles, and 450 or 540, turn on a canvas that holds all of the image and shows
    /// \a fillColor, a value for fill(uint), where the image does not reach; see
    /// getFillColorForRotate(). Pixels of 1 and 8 bits are the nearest ones, those of 24 and 32
    /// bits are blended byte by byte.
    ///
    /// Pixels of 16 and 64 bits are not turned: right angles give an image of the exchanged size
    /// filled with 0, other angles a canvas of the fill value. Those of Format_MonoLSB are taken
    /// in the order of Format_Mono. vellum::quarterTurned() and vellum::freeRotated() turn all
    /// formats, stay big and keep profile and metadata.
    /// \return null when this image is null, \a angle is not finite or beyond some 20 million
    ///         degrees, the result is too large, or memory runs out
    ///
    /// Hands the percentage done to set_progress() after every row of the result, except for
    /// copies, half turns and pixels of 16 and 64 bits. The answer is ignored.
    Vellum rotated(double angle, uint fillColor) const;
    /// @}

    /// \name QImage's metadata, without copying the base of a shared big image
    /// @{
    void setText(const QString &key, const QString &value);
    void setDotsPerMeterX(int dotsPerMeter);
    void setDotsPerMeterY(int dotsPerMeter);
    void setDevicePixelRatio(qreal ratio);
    void setColorTable(const QVector<QRgb> &colors);
    void setColor(int index, QRgb color);
    void setColorCount(int count);
    void setColorSpace(const QColorSpace &colorSpace);
    void setOffset(const QPoint &offset); ///< QImage::offset, not getOffsetX() and getOffsetY()
    bool reinterpretAsFormat(QImage::Format format); ///< For this image only; see setFormat()
    /// @}

    /// Relabels the pixels as \a format, for this image and all that share its data, without
    /// converting anything. The layout must be right already. Does nothing to a null image.
    void setFormat(QImage::Format format);

    /// \name Placement, chain, options
    /// @{

    /// Placement of the image, such as a layer's position in its document; (0, 0) at first.
    void setOffset(int x, int y);
    int getOffsetX() const;
    int getOffsetY() const;

    /// Links this image and \a image both ways. A null \a image does nothing: links can be
    /// redirected but not removed. Linked images are not owned.
    void setPrevImage(Vellum *image);
    Vellum *getPrevImage() const;
    void setNextImage(Vellum *image); ///< \copydoc setPrevImage
    Vellum *getNextImage() const;

    /// Bits agreed between an application and its format plugins; the library only keeps them.
    void setReadOptions(int options);
    unsigned int getReadOptions() const;

    void setSaveAsCmyk(bool saveAsCmyk);
    bool getSaveAsCmyk() const;

    /// Whether the file that the image came from was CMYK.
    void setOrgFileCmyk(bool cmyk);
    bool isOrgFileCmyk() const;

    /// The ICC profile of the image's file, as complete serialised bytes; empty for none.
    void setIccProfile(const QByteArray &profile);
    QByteArray getIccProfile() const;
    /// @}

    /// \name Colour
    /// Profiles are the bytes of a complete ICC profile; no bytes mean no profile. Transforms use
    /// rendering intent 0 (perceptual), no black-point compensation, and lcms2's format codes (see
    /// CVlLcmsManager::toLcmsFormat()). A transform that cannot be made, because the profile is
    /// damaged or does not fit the format, is null; functions that use it then do nothing.
    /// Lines are given as to lcms2: lineCount lines of pixelsPerLine pixels, so many bytes apart.
    /// @{

    /// Converts the pixels in place from \a icc to sRGB; format and alpha stay.
    ///
    /// The pixels stay as they are when there is no such transform: the image is null or its
    /// format has no lcms2 code, \a icc is empty, damaged, cut off, or of another colour space
    /// than the pixels. Grey pixels always stay, in the colour space of their profile: sRGB has
    /// no grey pixels. getIccProfile() does not change. For other conversions see
    /// vellum::convertColors().
    void doNormalIccTransform(QByteArray &icc);

    /// Makes the image's transform for reading, from \a icc to sRGB; an earlier one is replaced,
    /// by null if need be. Does nothing when \a icc is empty. Input in \c TYPE_Lab_8 or
    /// \c TYPE_Lab_16 is taken as Lab of D50 white, whatever \a icc holds.
    void prepareIccReadTransform(unsigned int inFormat, unsigned int outFormat, QByteArray &icc);
    void doIccTransformRead(const void *in, void *out, unsigned int pixelsPerLine,
                            unsigned int lineCount, unsigned int bytesPerLineIn,
                            unsigned int bytesPerLineOut); ///< Uses the transform for reading.
    void releaseIccReadTransform(); ///< Deletes the transform for reading.

    /// Makes the transform for saving as CMYK anew, from sRGB pixels of \a format to 8-bit CMYK of
    /// "cmyk.icm": for a writer that changed the pixel format since saving prepared it.
    ///
    /// This image and all after it in its chain get the transform and getSaveAsCmyk(). The head of
    /// the chain releases it, for all of them, when its save ends or with its pixels.
    ///
    /// There is none for formats without an lcms2 code and for grey: a writer that finds
    /// hasSaveCmykTransform() false expands rows to RGB32, calls this with QImage::Format_RGB32
    /// and hands those rows to doCmykTransform(). The colours are those above, or those of
    /// vellum::prepareSaveCmyk().
    void rePrepareSaveCmyk(QImage::Format format);
    void doCmykTransform(const void *in, void *out, unsigned int pixelsPerLine,
                         unsigned int lineCount, unsigned int bytesPerLineIn,
                         unsigned int bytesPerLineOut); ///< Uses it; for any threads at a time.

    /// True while there is a transform for saving as CMYK; getSaveAsCmyk() stays true after it.
    bool hasSaveCmykTransform() const;

    /// True from the preparation of a save as CMYK to its end, also when no transform could be
    /// made: for want of a profile, or because the format has none. See rePrepareSaveCmyk().
    bool isSaveCmykPrepared() const;

    /// Converts \a count pixels, sRGB in the byte order B, G, R, to C, M, Y, K of "cmyk.icm"
    /// (255 = full ink). The result comes first. Does nothing while the file has not been found:
    /// every construction of an image looks for it, and writes two debug lines when it is missing.
    /// The first call makes the transform, which takes some ten milliseconds. May be called from
    /// any thread.
    static void BgrToCmyk(unsigned char *cmyk, unsigned char *bgr, unsigned int count);
    /// The way back, of BgrToCmyk(), from C, M, Y, K to B, G, R.
    static void CmykToBgr(unsigned char *bgr, unsigned char *cmyk, unsigned int count);

    /// "cmyk.icm" of the profile folder; empty, with a debug line, when it cannot be read. While
    /// this image is prepared for another press by vellum::prepareSaveCmyk(), that one's.
    /// CVlLcmsManager::setDefaultCmykIcc() does not change it. \return always true
    bool getCmykIccProfile(QByteArray &out);
    /// The profile of CVlLcmsManager::getDefaultLabIccProfile(). \return always true
    bool getLabIccProfile(QByteArray &out);
    /// The profile of CVlLcmsManager::getDefaultXyzIccProfile(); mind its note on integer formats.
    /// \return always true
    bool getXyzIccProfile(QByteArray &out);
    /// @}

    /// \name Attachments
    /// @{

    /// Takes ownership of \a data, \a size bytes from \c malloc, and frees what was there before
    /// (unless it is \a data itself).
    void setExifData(char *data, int size);
    ExifData *getExifData(); ///< The image's own record; null when it has none.

    /// Takes ownership of \a layer and releases the record that was there before.
    void setPsdLayerData(PsdLayerData *layer);
    PsdLayerData *getPsdLayerData(); ///< The image's own record; null when it has none.

    void setLayerGroup(QList<PsdGroupData> &groups);
    QList<PsdGroupData> &getLayerGroup(); ///< The image's own list.

    /// Keeps \a factory for the layered-file reader; never dereferenced, never freed.
    void setColorSpaceFactory(IPsColorSpaceFactory *factory);
    IPsColorSpaceFactory *getColorSpaceFactory();

    /// Allocates height() rows of width() pixels of \a channels interleaved samples.
    ///
    /// \param channels  samples per pixel
    /// \param bits      8 or 16 per sample; 16-bit samples are little-endian
    /// \param stride    set to the bytes from row to row, a multiple of 4; 0 on failure
    /// \return the buffer, undefined content; null when \a bits is another number, the size does
    ///         not fit 32 bits, or memory runs out
    ///
    /// Neither this function nor the destructor frees an earlier buffer: call freeChannelsData().
    uchar *allocChannelsData(int channels, int bits, int &stride);

    /// Always null, whatever the arguments.
    uchar *getChannelsData(int, int, int &);

    /// The channel buffer, for reading: height() rows of width() pixels of \a channels interleaved
    /// samples of \a bits bits, \a stride bytes from row to row.
    /// \return null when there is no buffer, or when the image has grown since it was allocated;
    ///         the arguments are then 0
    const uchar *channelsData(int &channels, int &bits, int &stride) const;

    void freeChannelsData();

    /// Splits the channel buffer into one plain grey image per channel, owned by the caller.
    ///
    /// \param to8Bit    16-bit samples become Grayscale8 of their high bytes, else Grayscale16
    /// \param freeData  frees the channel buffer afterwards
    /// \return empty when there is no buffer, or when the image has grown since it was allocated
    QList<Vellum *> getChannelsImage(bool to8Bit, bool freeData);

    /// Always false; does nothing.
    bool setChannelsImage(QList<Vellum *> images);
    /// @}

    /// \name Progress
    /// @{

    /// Sets what is called while operations on this image run.
    ///
    /// \param callback  called with \a userData, a percentage and this image (as a pointer to
    ///                  const Vellum); answers true to go on and false to cancel
    /// \param userData  must not be null, or nothing is called
    /// \param base      added to every percentage
    /// \param scale     factor on the fraction done
    ///
    /// Copies and assignments of the image do not take the callback along. For a callable with
    /// state see vellum::ProgressGuard.
    void setCallback(bool (*callback)(void *, int, void *), void *userData, int base, double scale);

    /// Reports \a position rows done and returns the callback's answer; true when none is set.
    ///
    /// The percentage is base + position * scale * 100 / height(), truncated towards zero; what
    /// no \c int can hold is reported as the smallest \c int. The callback runs on the calling
    /// thread, at every call.
    bool set_progress(int position) const;

    /// Takes over \a other's callback, user pointer, base and scale.
    void copyCallback(const Vellum &other);
    /// @}

    /// \name Format conversion
    ///
    /// Plain images are converted by QImage. Big images are converted by this library's routines,
    /// which exist for the common pairs only; vellum::converted() knows all. \a format values
    /// that are no format give a null image and leave the image alone.
    /// @{

    /// Returns the image in \a format; the result is plain, whatever this image is.
    ///
    /// The result of a big image is null when there is no routine for the pair, and also when
    /// \a format is the one it has; a plain image in its own format is shared. Resolution, device
    /// pixel ratio and text are carried; attachments, ICC profile, flags and callback are not. The
    /// progress callback is not polled.
    ///
    /// Copying routines for big images exist from Mono and MonoLSB to each other, Indexed8, RGB32,
    /// ARGB32 and ARGB32_Premultiplied; from Indexed8 to Mono, MonoLSB, Grayscale8, Alpha8, RGB32,
    /// ARGB32 and ARGB32_Premultiplied; from Grayscale8 and Alpha8 to Indexed8; from RGB32 to Mono,
    /// MonoLSB, Indexed8, Grayscale8, ARGB32 and ARGB32_Premultiplied; from ARGB32 to Mono,
    /// MonoLSB, Indexed8, Grayscale8 and RGB32; from RGBA64 to ARGB32. They give what QImage gives,
    /// with one difference that callers rely on: Grayscale8 of a big 32-bit image ignores blue, and
    /// is trunc(0.299 R + 0.587 G + 0.114 G); and Indexed8 of a big one-bit image keeps more
    /// colours than two.
    ///
    /// \param flags  dithering, as for QImage::convertToFormat()
    Vellum convertToFormat(QImage::Format format,
                           Qt::ImageConversionFlags flags = Qt::AutoColor) const;

    /// Converts this image to \a format, a plain one as QImage::convertTo() does.
    ///
    /// The rows of a big image are rewritten where they are. Images that share them see the new
    /// pixels, and the new format unless they were given metadata of their own. A pair without
    /// a routine leaves the image alone: read format() afterwards.
    ///
    /// Routines for big images exist between Indexed8 and each of Grayscale8 and Alpha8; from
    /// RGB32 to ARGB32 and ARGB32_Premultiplied; from ARGB32 to RGB32; from RGBX8888 to RGB32,
    /// ARGB32 and ARGB32_Premultiplied; from RGBA8888 to RGB32, ARGB32 and RGBX8888; from
    /// RGBA8888_Premultiplied to ARGB32_Premultiplied. RGB32 and RGBX8888 get alpha 255.
    void convertTo(QImage::Format format, Qt::ImageConversionFlags flags = Qt::AutoColor);
    /// @}

    /// \name Scaling
    ///
    /// Results are plain; the source may be big. Qt::FastTransformation picks pixels, keeps format
    /// and colour table and reports progress; see fast_scale_image(). Qt::SmoothTransformation
    /// averages; see image_scale_crop() for what it does to which formats. See
    /// vellum::smoothScaled() for averaging with progress.
    /// @{

    /// This image scaled to \a size, or to the largest or smallest size with this image's
    /// proportions that \a aspectMode says, but at least 1 x 1.
    /// \return a copy, not shared, when that is the size it has; null when this image is null, a
    ///         side of \a size is below 1, or memory runs out
    Vellum scaledEx(const QSize &size, Qt::AspectRatioMode aspectMode = Qt::IgnoreAspectRatio,
                    Qt::TransformationMode mode = Qt::FastTransformation) const;
    /// The same as scaledEx().
    Vellum scaled(const QSize &size, Qt::AspectRatioMode aspectMode = Qt::IgnoreAspectRatio,
                  Qt::TransformationMode mode = Qt::FastTransformation) const;
    /// The same as scaledEx(QSize(\a w, \a h), \a aspectMode, \a mode).
    Vellum scaled(int w, int h, Qt::AspectRatioMode aspectMode = Qt::IgnoreAspectRatio,
                  Qt::TransformationMode mode = Qt::FastTransformation) const;

    /// The part \a rect of this image scaled to \a size, as image_scale_crop() makes it. Both are
    /// only read. Shares the pixels when nothing is scaled or cut off; null when nothing of the
    /// target lies in \a rect.
    Vellum scaleCrop(QSize &size, QRect &rect, Qt::TransformationMode mode) const;

    /// Replaces \a image by scaledEx() of it, unless it has exactly \a size already, whatever
    /// \a aspectMode says. An \a image that is a big Vellum becomes a plain one.
    static void scaleQImage(QImage &image, const QSize &size, Qt::AspectRatioMode aspectMode,
                            Qt::TransformationMode mode);
    /// @}

    /// \name Files
    /// @{

    /// Reads the picture in \a fileName, of any kind that a Qt plugin knows or ".hrle" (in lower
    /// case), upright and in sRGB. See vellum::openImage() for a function that keeps 16 bits, big
    /// images and profiles, and says what went wrong.
    ///
    /// Files that plugins call bmp, jpg, jpeg, png, psd, tif or tiff are read into the image
    /// itself: an image that has the file's size and format keeps its storage, so that rows of a
    /// big one that was made beforehand are filled in place; any other becomes a plain one. Only a
    /// plugin that knows Vellum fills a big image; another one, such as Qt's own, leaves its rows
    /// as they were, and the result is true all the same.
    /// Afterwards an Indexed8 picture whose colours are all grey is Grayscale8, an RGB32 or
    /// premultiplied one is ARGB32 (premultiplied pixels are relabelled only), and one of more
    /// than 32 bits is ARGB32. Then the pixels are converted from getIccProfile() to sRGB, unless
    /// isOrgFileCmyk(). Pictures of all other kinds are read into a plain image, which is assigned
    /// as operator=(const QImage &) says, converted and then made ARGB32 where it has 32 bits.
    ///
    /// Turning a big image upright and reducing one of more than 32 bits replace the image, which
    /// is then plain and without profile and CMYK-origin flag, so that its pixels are not
    /// converted. A big one of more than 32 bits is null afterwards when convertToFormat() has no
    /// routine for it. Where the plugin sets neither profile nor flag, those that the image had
    /// still hold.
    ///
    /// The image keeps its progress callback, which is polled where a plugin fills the rows of the
    /// image. Messages on the debug stream, with the time of day, tell the stages and number the
    /// failures.
    ///
    /// \param format  not used: the kind of file is found out by its content
    /// \return false when the file cannot be read, which leaves the image as it was, null when it
    ///         is an HRLE file, or partly filled; or when it has more than 2104607376 pixels, a
    ///         product taken in 32 bits
    bool load(const QString &fileName, const char *format = nullptr);

    /// Writes the image, plain or big, to \a fileName through QImageWriterEx, or as HRLE when the
    /// name ends with ".hrle" (in lower case; see HrleHandler::writeFile() for what that returns).
    /// Only a plugin that knows Vellum finds the rows of a big image. See vellum::saveImage() for
    /// typed options and safe replacement of files.
    ///
    /// Text entries of the image are options. Where "JpegOptions" is "yes": "quality" is the
    /// quality (0 unless a number), instead of the argument; "progressive" other than "false" asks
    /// for a progressive file; with "false", "optimize" as "true" asks for optimised coding;
    /// "cmyk" as "true" asks for CMYK. Wherever "filesizeonly" is "true" the file is not written;
    /// the layer record of the image gets the size that it would have as its \c encodedSize.
    ///
    /// For CMYK the chain that begins with this image gets getSaveAsCmyk(), which stays, and
    /// meanwhile a transform; see rePrepareSaveCmyk().
    ///
    /// \param format    the format's name; null for the one that the file's suffix says
    /// \param quality   0 to 100, or -1 for the format's default; others warn and mean 100
    /// \param saveCmyk  asks for CMYK; cannot be revoked by the text entry
    /// \return false, with a debug line, when the image was not written; false for a null image
    bool save(const QString &fileName, const char *format = nullptr, int quality = -1,
              bool saveCmyk = false);
    /// @}

protected:
    Vellum mirrored_helper(bool horizontal, bool vertical) const; ///< Behind mirrored().

private:
    friend class vellum::image::HeldAttachments;
    friend class vellum::image::RowRuns;
    friend class vellum::image::RowWindow;

    void clear();
    void swapAttachments(Vellum &other);
    bool isLastHolder() const;
    void partMetadata();
    template <typename Setter>
    auto withOwnMetadata(Setter setter);
    static bool replacePixels(Vellum &image, const Vellum &pixels);
    static Vellum withoutRows(int w, int h, QImage::Format format);
    static void prepareCmykToRgbTransform();
    bool loadDirectly(QImageReader &reader);
    bool loadPlain(QImageReader &reader);
    void prepareSaveCmyk();
    void prepareSaveCmyk(QImage::Format format);
    void shareSaveCmyk(const std::shared_ptr<vellum::color::SaveTransform> &record);
    void releaseSaveCmyk();
    friend bool vellum::prepareSaveCmyk(Vellum &, const vellum::PressColors &);

    // Set to null by every constructor; kept free for additions that keep the layout.
    void *m_reserved1 = nullptr;
    void *m_reserved2 = nullptr;
    void *m_reserved3 = nullptr;
    void *m_reserved4 = nullptr;
    bool (*m_progressCallback)(void *, int, void *) = nullptr;
    void *m_progressUserData = nullptr;
    QExplicitlySharedDataPointer<vellum::image::RowStore> m_rowBlocks;
    Vellum *m_prevImage = nullptr;
    Vellum *m_nextImage = nullptr;
    int m_offsetX = 0;
    int m_offsetY = 0;
    ExifData *m_exifData = nullptr;
    PsdLayerData *m_psdLayerData = nullptr;
    IPsColorSpaceFactory *m_colorSpaceFactory = nullptr;
    QList<PsdGroupData> m_layerGroup;
    uchar *m_detachBits = nullptr;
    qint64 m_detachBytesPerLine = 0;
    unsigned int m_readOptions = 0;
    bool m_saveAsCmyk = false;
    std::shared_ptr<vellum::color::SaveTransform> m_saveCmykTransform; // shared by a chain
    std::shared_ptr<void> m_iccReadTransform; // lcms2 transform with its deleter
    bool m_orgFileCmyk = false;
    int m_progressBase = 0;
    double m_progressScale = 1.0;
    QByteArray m_iccProfile;
    uchar *m_channelsData = nullptr;
    int m_channelCount = 0;
    int m_channelBits = 8;
    int m_channelsBytes = 0; // size of m_channelsData

    static vellum::color::ProfileCache m_cmykProfile;
    static vellum::color::ProfileCache m_labProfile;
    static vellum::color::ProfileCache m_xyzProfile;
    static std::atomic<void *> m_cmykToRgbTransform; // lcms2 transform
    static std::atomic<void *> m_rgbToCmykTransform; // lcms2 transform
};
