// libexif calls its data ExifData, as the library calls its record: only one fits in here.
#include "tiff/exifblock.h"

#include <algorithm>
#include <cstdlib>
#include <libexif/exif-data.h>
#include <memory>

namespace vellum::plugin::tiff {

namespace {

constexpr char kPrefix[] = "Exif\0"; // and the zero at its end
constexpr int kPrefixBytes = sizeof kPrefix;

struct ReleaseData
{
    void operator()(ExifData *data) const noexcept { exif_data_unref(data); }
};
struct ReleaseEntry
{
    void operator()(ExifEntry *entry) const noexcept { exif_entry_unref(entry); }
};
struct Free
{
    void operator()(void *memory) const noexcept { std::free(memory); }
};

using Data = std::unique_ptr<ExifData, ReleaseData>;
using Entry = std::unique_ptr<ExifEntry, ReleaseEntry>;
using Bytes = std::unique_ptr<unsigned char, Free>;

/// Data that keeps what it is given as it is.
Data makeData()
{
    Data data(exif_data_new());
    if (data) {
        exif_data_unset_option(data.get(), EXIF_DATA_OPTION_IGNORE_UNKNOWN_TAGS);
        exif_data_unset_option(data.get(), EXIF_DATA_OPTION_FOLLOW_SPECIFICATION);
        exif_data_set_option(data.get(), EXIF_DATA_OPTION_DONT_CHANGE_MAKER_NOTE);
    }
    return data;
}

void add(ExifContent *content, const Ifd &ifd)
{
    for (const IfdEntry &source : ifd) {
        const Entry entry(exif_entry_new());
        auto *const value = static_cast<unsigned char *>(std::malloc(size_t(source.value.size())));
        if (!entry || !value) {
            std::free(value);
            return;
        }
        std::copy(source.value.begin(), source.value.end(), value);
        entry->tag = ExifTag(source.tag);
        entry->format = ExifFormat(source.type); // the two number types alike
        entry->components = source.count;
        entry->size = unsigned(source.value.size());
        entry->data = value; // libexif frees it with the entry
        exif_content_add_entry(content, entry.get());
    }
}

Ifd entriesOf(const ExifContent *content)
{
    Ifd ifd;
    for (unsigned i = 0; content && i < content->count; ++i) {
        const ExifEntry &entry = *content->entries[i];
        const auto bytes = qint64(ifdTypeBytes(int(entry.format))) * qint64(entry.components);
        if (!entry.data || bytes <= 0 || bytes > qint64(entry.size))
            continue;
        ifd.push_back({quint16(entry.tag), quint16(entry.format), quint32(entry.components),
                       QByteArray(reinterpret_cast<const char *>(entry.data), int(bytes))});
    }
    return ifd;
}

ExifByteOrder orderOf(bool bigEndian)
{
    return bigEndian ? EXIF_BYTE_ORDER_MOTOROLA : EXIF_BYTE_ORDER_INTEL;
}

} // namespace

QByteArray exifBlockOf(const ExifDirectories &directories)
{
    const Data data = makeData();
    if (!data)
        return {};
    exif_data_set_byte_order(data.get(), orderOf(directories.bigEndian));
    add(data->ifd[EXIF_IFD_0], directories.picture);
    add(data->ifd[EXIF_IFD_EXIF], directories.exif);
    add(data->ifd[EXIF_IFD_GPS], directories.gps);
    add(data->ifd[EXIF_IFD_INTEROPERABILITY], directories.interoperability);
    unsigned char *bytes = nullptr;
    unsigned size = 0;
    exif_data_save_data(data.get(), &bytes, &size);
    const Bytes owner(bytes);
    if (!bytes || size <= unsigned(kPrefixBytes))
        return {};
    return {reinterpret_cast<const char *>(bytes) + kPrefixBytes, int(size) - kPrefixBytes};
}

ExifDirectories exifDirectoriesOf(const QByteArray &block, bool bigEndian)
{
    const Data data = makeData();
    if (!data || block.isEmpty())
        return {};
    const QByteArray whole = QByteArray(kPrefix, kPrefixBytes) + block;
    exif_data_load_data(data.get(), reinterpret_cast<const unsigned char *>(whole.constData()),
                        unsigned(whole.size()));
    exif_data_set_byte_order(data.get(), orderOf(bigEndian));
    return {bigEndian, entriesOf(data->ifd[EXIF_IFD_0]), entriesOf(data->ifd[EXIF_IFD_EXIF]),
            entriesOf(data->ifd[EXIF_IFD_GPS]), entriesOf(data->ifd[EXIF_IFD_INTEROPERABILITY])};
}

} // namespace vellum::plugin::tiff
