// XMP packets in JPEG files, of any size, and on their way between JPEG, PNG and TIFF.

#include <QBuffer>
#include <QCryptographicHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QXmlStreamReader>
#include <QtEndian>

#include <support/jpegfile.h>
#include <support/profiles.h>

using namespace vellum::test;

namespace {

const char *const kKey = "XML:com.adobe.xmp";
constexpr int kMarker = JPEG_APP0 + 1;

/// \a properties as a whole packet, with what editors put around one.
QString packetWith(const QString &properties)
{
    return QStringLiteral("<?xpacket begin=\"\ufeff\" id=\"W5M0MpCehiHzreSzNTczkc9d\"?>\n") +
        QStringLiteral("<x:xmpmeta xmlns:x=\"adobe:ns:meta/\"><rdf:RDF xmlns:rdf=\""
                       "http://www.w3.org/1999/02/22-rdf-syntax-ns#\"><rdf:Description "
                       "rdf:about=\"\" xmlns:dc=\"http://purl.org/dc/elements/1.1/\" "
                       "xmlns:xmpNote=\"http://ns.adobe.com/xmp/note/\" "
                       "xmlns:photoshop=\"http://ns.adobe.com/photoshop/1.0/\"") +
        properties +
        QStringLiteral("</rdf:Description></rdf:RDF></x:xmpmeta>\n  \n<?xpacket end=\"w\"?>");
}

QString history(int size)
{
    QString text;
    for (int i = 0; text.size() < size; ++i)
        text += QStringLiteral("%1: größer \"%2\" ").arg(i).arg(i * 7919 % 1000);
    return text.left(size - 1) + QLatin1Char('.');
}

QString packetOfSize(int size)
{
    return packetWith(QStringLiteral(" dc:format=\"image/jpeg\"><photoshop:History>") +
                      history(size) + QStringLiteral("</photoshop:History>"));
}

Vellum imageWith(const QString &packet)
{
    Vellum image = makeNoise(20, 20, QImage::Format_RGB32, Storage::Big);
    image.setText(QLatin1String(kKey), packet);
    return image;
}

QByteArray written(const Vellum &image, const char *format)
{
    QBuffer buffer;
    buffer.open(QIODevice::ReadWrite);
    QImageWriterEx writer(&buffer, format);
    EXPECT_TRUE(writer.write(image)) << qPrintable(writer.errorString());
    return buffer.data();
}

QString packetIn(QByteArray file, Storage storage = Storage::Plain)
{
    Vellum image = makeNoise(20, 20, QImage::Format_RGB32, storage);
    QBuffer buffer(&file);
    QImageReader reader(&buffer);
    EXPECT_TRUE(reader.read(&image)) << qPrintable(reader.errorString());
    return image.text(QLatin1String(kKey));
}

/// What exiftool finds in \a file.
QJsonObject exiftool(const char *name, const QByteArray &file)
{
    const QTemporaryDir folder;
    const QByteArray json =
        run("exiftool", {"-j", "-G1", "-struct", store(folder, QLatin1String(name), file)});
    return QJsonDocument::fromJson(json).array().first().toObject();
}

QByteArray number(quint32 value)
{
    QByteArray bytes(4, '\0');
    qToBigEndian(value, bytes.data());
    return bytes;
}

const QByteArray kGuid(32, 'A');

QByteArray packetMarker(const QString &packet)
{
    return QByteArray("http://ns.adobe.com/xap/1.0/\0", 29) + packet.toUtf8();
}

QByteArray partMarker(quint32 all, quint32 offset, const QByteArray &bytes,
                      const QByteArray &guid = kGuid)
{
    return QByteArray("http://ns.adobe.com/xmp/extension/\0", 35) + guid + number(all) +
        number(offset) + bytes;
}

QByteArray fileWith(const std::vector<QByteArray> &contents)
{
    JpegKind kind;
    for (const QByteArray &content : contents)
        kind.markers.emplace_back(kMarker, content);
    return makeJpeg(photoSamples(20, 20, 3), kind);
}

/// Names and text of the properties of all descriptions, attributes included.
std::vector<std::pair<QString, QString>> propertiesOf(const QString &packet)
{
    std::vector<std::pair<QString, QString>> found;
    QXmlStreamReader in(packet);
    int depth = 0;
    while (!in.atEnd()) {
        in.readNext();
        depth += int(in.isStartElement()) - int(in.isEndElement());
        if (in.isStartElement() && depth == 3) {
            const auto attributes = in.attributes();
            for (const QXmlStreamAttribute &attribute : attributes) {
                if (attribute.name() != QLatin1String("about"))
                    found.emplace_back(attribute.namespaceUri() + attribute.name(),
                                       attribute.value().toString());
            }
        } else if (in.isStartElement() && depth == 4) {
            const QString name = in.namespaceUri().toString() + in.name().toString();
            found.emplace_back(name, in.readElementText(QXmlStreamReader::IncludeChildElements));
            --depth;
        }
    }
    EXPECT_FALSE(in.hasError()) << qPrintable(in.errorString());
    return found;
}

const QString kNoted =
    packetWith(QStringLiteral(" xmpNote:HasExtendedXMP=\"") + QString::fromLatin1(kGuid) +
               QStringLiteral("\" dc:format=\"image/jpeg\">"));
const QByteArray kRest =
    "<m:xmpmeta xmlns:m='adobe:ns:meta/' xmlns:q='urn:q'><r:RDF "
    "xmlns:r='http://www.w3.org/1999/02/22-rdf-syntax-ns#'><r:Description r:about='' q:b='2'>"
    "<q:c>three</q:c></r:Description><r:Description r:about='' xmlns:q='urn:other'>"
    "<q:d>&lt;four&gt; \"'</q:d></r:Description></r:RDF></m:xmpmeta>";

class JpegXmp : public testing::Test
{
protected:
    void SetUp() override { useOwnPlugins(); }
};

} // namespace

TEST_F(JpegXmp, PacketsOfAnySizeComeBackAsTheyWereFromEveryFormat)
{
    for (const int size : {10, 65000, 65536, 70000, 131000, 1000000}) {
        const QString packet = packetOfSize(size);
        for (const char *const format : {"jpg", "png", "tif"}) {
            const QByteArray file = written(imageWith(packet), format);
            for (const Storage storage : kStorages)
                EXPECT_TRUE(packetIn(file, storage) == packet) << format << ' ' << size;
        }
    }
}

TEST_F(JpegXmp, PacketsBeyond64MiBAreLeftOut)
{
    const Vellum image = imageWith(QString((64 << 20) + 1, QLatin1Char('x')));
    for (const char *const format : {"jpg", "tif"})
        EXPECT_EQ(packetIn(written(image, format)), QString());
}

TEST_F(JpegXmp, TextThatIsNoPacketComesBackToo)
{
    const QString text(200000, QLatin1Char('<'));
    EXPECT_TRUE(packetIn(written(imageWith(text), "jpg")) == text);
}

TEST_F(JpegXmp, PacketsSurviveTheWayThroughAllFormats)
{
    for (const int size : {1000, 300000}) {
        const QString packet = packetOfSize(size);
        QByteArray file = written(imageWith(packet), "jpg");
        for (const char *const format : {"png", "tif", "jpg", "tif", "png", "jpg"}) {
            Vellum image;
            ASSERT_TRUE(image.loadFromData(file));
            file = written(image, format);
        }
        EXPECT_TRUE(packetIn(file) == packet) << size;
    }
}

TEST_F(JpegXmp, ExiftoolFindsWhatWasWritten)
{
    const std::pair<const char *, const char *> kinds[] = {
        {"a.jpg", "jpg"}, {"a.png", "png"}, {"a.tif", "tif"}};
    for (const int size : {1000, 65600, 300000}) {
        for (const auto &[name, format] : kinds) {
            const QJsonObject found =
                exiftool(name, written(imageWith(packetOfSize(size)), format));
            EXPECT_EQ(found["XMP-dc:Format"].toString(), "image/jpeg") << name;
            EXPECT_EQ(found["XMP-photoshop:History"].toString().trimmed(), history(size).trimmed())
                << name;
            EXPECT_FALSE(found.contains("ExifTool:Warning"))
                << qPrintable(found["ExifTool:Warning"].toString());
        }
    }
}

TEST_F(JpegXmp, LargePacketsAreNotedByTheirDigest)
{
    const auto markers = decodeJpeg(written(imageWith(packetOfSize(150000)), "jpg")).markers;
    ASSERT_GT(markers.size(), 2U);
    QByteArray rest;
    for (size_t i = 1; i < markers.size(); ++i) {
        EXPECT_TRUE(markers[i].second.startsWith("http://ns.adobe.com/xmp/extension/"));
        EXPECT_EQ(markers[i].second.mid(35 + 36, 4), number(quint32(rest.size())));
        rest += markers[i].second.mid(35 + 40);
    }
    const QByteArray digest =
        QCryptographicHash::hash(rest, QCryptographicHash::Md5).toHex().toUpper();
    EXPECT_TRUE(markers[0].second.contains("HasExtendedXMP=\"" + digest + '"'));
    EXPECT_EQ(markers[1].second.mid(35, 32), digest);
    EXPECT_EQ(markers[1].second.mid(35 + 32, 4), number(quint32(rest.size())));
}

TEST_F(JpegXmp, WhatExiftoolDividedIsJoined)
{
    const QTemporaryDir folder;
    const QString path = store(folder, "picture.jpg", fileWith({}));
    const QString text = history(150000);
    const QString source = store(folder, "text.txt", text.toUtf8());
    run("exiftool",
        {"-q", "-overwrite_original", "-XMP-dc:Format=image/jpeg", "-XMP-dc:Creator=Me",
         "-XMP-photoshop:History<=" + source, path});
    ASSERT_GT(decodeJpeg(readFile(path)).markers.size(), 2U);

    const QString packet = packetIn(readFile(path));

    EXPECT_FALSE(packet.contains("HasExtendedXMP"));
    std::vector<QString> texts;
    for (const auto &[name, value] : propertiesOf(packet))
        texts.push_back(value.trimmed());
    EXPECT_EQ(std::count(texts.begin(), texts.end(), text.trimmed()), 1);
    EXPECT_EQ(std::count(texts.begin(), texts.end(), "Me"), 1);
    EXPECT_EQ(std::count(texts.begin(), texts.end(), "image/jpeg"), 1);
    for (const char *const format : {"jpg", "tif", "png"}) {
        const QString name = QStringLiteral("again.") + QLatin1String(format);
        const QJsonObject found = exiftool(qPrintable(name), written(imageWith(packet), format));
        EXPECT_EQ(found["XMP-photoshop:History"].toString().trimmed(), text.trimmed());
        EXPECT_EQ(found["XMP-dc:Creator"].toArray().first().toString(), "Me") << format;
    }
}

TEST_F(JpegXmp, PartsInAnyOrderAreJoinedWithTheirNamespaces)
{
    const auto all = quint32(kRest.size());
    const QByteArray first = partMarker(all, 0, kRest.left(100));
    const QByteArray second = partMarker(all, 100, kRest.mid(100, 50));
    const QByteArray third = partMarker(all, 150, kRest.mid(150));
    const QByteArray packet = packetMarker(kNoted);
    const std::vector<std::pair<QString, QString>> expected = {
        {"http://purl.org/dc/elements/1.1/format", "image/jpeg"},
        {"urn:qb", "2"},
        {"urn:qc", "three"},
        {"urn:otherd", "<four> \"'"},
    };
    EXPECT_EQ(propertiesOf(packetIn(fileWith({packet, first, second, third}))), expected);
    EXPECT_EQ(propertiesOf(packetIn(fileWith({third, first, packet, second}))), expected);
    const QByteArray stranger = partMarker(9, 0, "something", QByteArray(32, 'B'));
    EXPECT_EQ(propertiesOf(packetIn(fileWith({stranger, packet, third, second, first}))), expected);
}

TEST_F(JpegXmp, NoteInAnElementCountsToo)
{
    const QString packet = packetWith(QStringLiteral("><xmpNote:HasExtendedXMP>") +
                                      QString::fromLatin1(kGuid.toLower()) +
                                      QStringLiteral("</xmpNote:HasExtendedXMP><dc:a>1</dc:a>"));
    const QByteArray part = partMarker(quint32(kRest.size()), 0, kRest);
    const auto found = propertiesOf(packetIn(fileWith({packetMarker(packet), part})));
    ASSERT_EQ(found.size(), 4U);
    EXPECT_EQ(found[0].second, "1");
    EXPECT_EQ(found[2].second, "three");
}

TEST_F(JpegXmp, PartsThatDoNotFitTogetherAreIgnored)
{
    const auto all = quint32(kRest.size());
    const QByteArray half = kRest.left(200);
    const QByteArray head("http://ns.adobe.com/xmp/extension/\0", 35);
    const std::vector<QByteArray> bad[] = {
        {partMarker(all, 0, kRest, QByteArray(32, 'B'))}, // of another packet
        {partMarker(all, 0, half)}, // the end is missing
        {partMarker(all, 200, kRest.mid(200))}, // the start is missing
        {partMarker(all, 0, half), partMarker(all, 201, kRest.mid(201))}, // a gap
        {partMarker(all, 0, half), partMarker(all, 199, kRest.mid(199))}, // an overlap
        {partMarker(all, 0, kRest), partMarker(all, 0, kRest)}, // twice
        {partMarker(0xffffffff, 0, kRest)},
        {partMarker(all, 0xffffffff, kRest)},
        {partMarker(0, 0, kRest)},
        {partMarker(0, 0, "")},
        {head},
        {head + kGuid},
        {head + kGuid + number(0)},
        {partMarker(200, 0, half)}, // whole, but no XML
        {partMarker(8, 0, "nonsense")},
        {partMarker(4, 0, "<a/>")}, // XML, but nothing of RDF
    };
    for (const auto &parts : bad) {
        std::vector<QByteArray> contents = parts;
        contents.insert(contents.begin(), packetMarker(kNoted));
        EXPECT_EQ(packetIn(fileWith(contents)), kNoted) << (&parts - bad);
        EXPECT_EQ(packetIn(fileWith(parts)), QString()) << "without a packet to belong to";
    }
    EXPECT_EQ(packetIn(fileWith({packetMarker("<broken"), partMarker(all, 0, kRest)})), "<broken");
}

TEST_F(JpegXmp, RestsThatWouldTakeUnjustifiedTimeOrMemoryAreIgnored)
{
    const auto rdf = [](const QByteArray &content, const QByteArray &before = {}) {
        return before + "<r:RDF xmlns:r='http://www.w3.org/1999/02/22-rdf-syntax-ns#'>" + content +
            "</r:RDF>";
    };
    const auto fits = [](const QByteArray &rest) {
        std::vector<QByteArray> contents {packetMarker(kNoted)};
        for (int at = 0; at < rest.size(); at += 65000)
            contents.push_back(partMarker(quint32(rest.size()), quint32(at), rest.mid(at, 65000)));
        return packetIn(fileWith(contents)) != kNoted;
    };
    QByteArray attributes;
    QByteArray namespaces;
    for (int i = 0; i < 5000; ++i) {
        attributes += " a" + QByteArray::number(i) + "=''";
        namespaces += "<p xmlns:a" + QByteArray::number(i) + "='urn:a'/>";
    }
    const QByteArray entity = "<!DOCTYPE a [<!ENTITY e 'eeeeeeeeeeeeeeee'>]>";
    EXPECT_TRUE(fits(rdf("<p/>")));
    EXPECT_TRUE(fits(rdf("<p>" + QByteArray("a='1' ").repeated(900) + "</p>")));
    EXPECT_TRUE(fits(rdf("<p>" + QByteArray(1000000, '"') + "</p>")));
    EXPECT_FALSE(fits(rdf("<p" + attributes + "/>")));
    EXPECT_FALSE(fits(rdf(namespaces)));
    EXPECT_FALSE(fits(rdf(QByteArray("<p>").repeated(300) + QByteArray("</p>").repeated(300))));
    EXPECT_FALSE(fits(rdf("<p>&e;</p>", entity)));
    // Each of many elements would have to repeat a long namespace of their parent.
    const QByteArray wide = "<r:RDF xmlns:r='http://www.w3.org/1999/02/22-rdf-syntax-ns#' "
                            "xmlns:q='urn:" +
        QByteArray(30000, 'q') + "'>" + QByteArray("<q:p/>").repeated(5000) + "</r:RDF>";
    EXPECT_FALSE(fits(wide));
}

TEST_F(JpegXmp, TiffPacketsOfOtherProgramsAreFound)
{
    const QTemporaryDir folder;
    const QString path =
        store(folder, "picture.tif",
              written(makeNoise(20, 20, QImage::Format_RGB32, Storage::Plain), "tif"));
    EXPECT_EQ(packetIn(readFile(path)), QString());
    run("exiftool", {"-q", "-overwrite_original", "-XMP-dc:Creator=Zoë", path});
    EXPECT_TRUE(packetIn(readFile(path)).contains(QString::fromUtf8("<rdf:li>Zoë</rdf:li>")));
}
