// Files that come through pipes and the like, few bytes at a time.

#include <QBuffer>
#include <QFile>
#include <QImageReader>
#include <QProcess>
#include <QTemporaryDir>

#include <chrono>
#include <cstring>
#include <support/devices.h>
#include <support/imageplugin.h>
#include <support/images.h>
#include <sys/stat.h>
#include <thread>

using namespace vellum::test;

namespace {

/// Shows one more byte whenever somebody waits for it, as a slow pipe does.
class DrippingDevice : public QIODevice
{
public:
    explicit DrippingDevice(const QByteArray &data, int arriving = 1 << 30)
        : m_data(data), m_arriving(qMin(arriving, data.size()))
    {
        open(QIODevice::ReadOnly);
    }

    bool isSequential() const override { return true; }
    qint64 bytesAvailable() const override
    {
        return QIODevice::bytesAvailable() + m_arrived - m_at;
    }
    bool waitForReadyRead(int milliseconds) override
    {
        m_waits.push_back(milliseconds);
        m_arrived = qMin(m_arrived + 1, m_arriving);
        return m_arrived > m_at;
    }

    const std::vector<int> &waits() const { return m_waits; } ///< How long each was to take.

protected:
    qint64 readData(char *out, qint64 size) override
    {
        const qint64 given = qMin(size, qint64(m_arrived - m_at));
        std::memcpy(out, m_data.constData() + m_at, size_t(given));
        m_at += int(given);
        return given;
    }
    qint64 writeData(const char *, qint64) override { return -1; }

private:
    QByteArray m_data;
    int m_arriving;
    int m_arrived = 0;
    int m_at = 0;
    std::vector<int> m_waits;
};

struct Kind
{
    const char *plugin;
    const char *format;
    int signature; ///< bytes
};
void PrintTo(const Kind &kind, std::ostream *out) { *out << kind.format; }

QImage picture() { return toPlain(makeNoise(20, 15, QImage::Format_RGB32, Storage::Plain)); }

QByteArray fileOf(const Kind &kind)
{
    QBuffer buffer;
    buffer.open(QIODevice::ReadWrite);
    const auto handler = makeHandler(QLatin1String(kind.plugin), &buffer, kind.format);
    EXPECT_TRUE(handler->write(picture()));
    return buffer.data();
}

QImage read(QIODevice &device)
{
    QImageReader reader(&device);
    const QImage image = reader.read();
    EXPECT_FALSE(image.isNull()) << qPrintable(reader.errorString());
    return image;
}

class Sequential : public testing::TestWithParam<Kind>
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(vellum::registerPlugins());
        m_file = fileOf(GetParam());
        m_expected = QImage::fromData(m_file);
        ASSERT_FALSE(m_expected.isNull());
    }

    QByteArray m_file;
    QImage m_expected;
};

INSTANTIATE_TEST_SUITE_P(Kinds, Sequential,
                         testing::Values(Kind {"jpeg", "jpeg", 3}, Kind {"png", "png", 8},
                                         Kind {"tiff", "tiff", 4}, Kind {"bitmap", "bmp", 18},
                                         Kind {"bitmap", "ppm", 3}, Kind {"bitmap", "xpm", 6}),
                         [](const auto &kind) { return std::string(kind.param.format); });

} // namespace

TEST_P(Sequential, SignaturesAreWaitedForByteByByte)
{
    DrippingDevice device(m_file);
    const auto handler = makeHandler(QLatin1String(GetParam().plugin), &device, GetParam().format);

    EXPECT_TRUE(handler->canRead());

    EXPECT_EQ(device.waits().size(), size_t(GetParam().signature));
    EXPECT_TRUE(handler->canRead()) << "it has only looked";
    QImage image;
    ASSERT_TRUE(handler->read(&image));
    EXPECT_EQ(image, m_expected);
}

TEST_P(Sequential, ReadersFindTheFormatOfAPipeThatDrips)
{
    DrippingDevice device(m_file);
    EXPECT_EQ(read(device), m_expected);
}

TEST_P(Sequential, ReadersFindTheFormatOfADeviceThatGivesAByteAtOnce)
{
    SequentialDevice device(m_file, 1);
    EXPECT_EQ(read(device), m_expected);
}

TEST_P(Sequential, ReadersFindTheFormatOfASlowProgram)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("picture"));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(m_file);
    file.close();
    QProcess process;
    process.start(QStringLiteral("sh"),
                  {QStringLiteral("-c"),
                   QStringLiteral("sleep 0.1; head -c 1 \"$0\"; sleep 0.1; tail -c +2 \"$0\""),
                   path});
    ASSERT_TRUE(process.waitForStarted());
    EXPECT_EQ(read(process), m_expected);
    process.waitForFinished();
}

TEST_P(Sequential, ReadersFindTheFormatOfANamedPipe)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("pipe"));
    ASSERT_EQ(mkfifo(qPrintable(path), 0600), 0);
    std::thread writer([&] {
        QFile pipe(path);
        if (!pipe.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
            return;
        pipe.write(m_file.left(1));
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        pipe.write(m_file.mid(1));
    });
    QFile pipe(path);
    EXPECT_TRUE(pipe.open(QIODevice::ReadOnly));
    EXPECT_EQ(read(pipe), m_expected);
    pipe.close();
    writer.join();
}

TEST_P(Sequential, ADeviceThatStopsDeliveringIsWaitedForOnce)
{
    const Kind kind = GetParam();
    for (int arriving = 0; arriving < qMin(kind.signature, 2); ++arriving) {
        DrippingDevice device(m_file, arriving);
        const auto handler = makeHandler(QLatin1String(kind.plugin), &device, kind.format);

        EXPECT_FALSE(handler->canRead());
        EXPECT_FALSE(handler->canRead());

        ASSERT_EQ(device.waits().size(), size_t(arriving) + 1);
        for (const int milliseconds : device.waits()) {
            EXPECT_GE(milliseconds, 0) << "for ever";
            EXPECT_LE(milliseconds, 5000);
        }
        EXPECT_EQ(device.peek(100), m_file.left(arriving));
    }
}

TEST_P(Sequential, OtherFilesAreNotWaitedFor)
{
    DrippingDevice device("\x01 is how no file begins");
    device.waitForReadyRead(0);
    const auto handler = makeHandler(QLatin1String(GetParam().plugin), &device, GetParam().format);
    EXPECT_FALSE(handler->canRead());
    EXPECT_EQ(device.waits().size(), 1U);
}
