#include "tool.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonDocument>
#include <QRandomGenerator>
#include <QtEndian>

#include <csignal>

namespace vellum::test {

namespace {

constexpr int kPatience = 120000; // milliseconds; sanitizers are slow

/// As the PNG standard has it, bit by bit.
quint32 crc32(const QByteArray &bytes)
{
    quint32 sum = 0xffffffff;
    for (const char c : bytes) {
        sum ^= uchar(c);
        for (int bit = 0; bit < 8; ++bit)
            sum = (sum >> 1) ^ ((sum & 1) ? 0xedb88320 : 0);
    }
    return ~sum;
}

} // namespace

void makeApplication()
{
    if (!QCoreApplication::instance()) {
        static int argc = 1;
        static char name[] = "test";
        static char *argv[] = {name, nullptr};
        static const QCoreApplication application(argc, argv);
    }
}

RunningTool::RunningTool(const QStringList &arguments, const QString &setUp)
{
    makeApplication();
    const QStringList shell {QStringLiteral("-c"), setUp + QLatin1String("; exec \"$0\" \"$@\""),
                             QStringLiteral(VELLUM_TOOL)};
    m_process.start(QStringLiteral("/bin/sh"), shell + arguments, QIODevice::ReadOnly);
    m_process.waitForStarted(kPatience);
}

bool RunningTool::waitForOutput(const QByteArray &text)
{
    QElapsedTimer clock;
    clock.start();
    while (!m_out.contains(text) && clock.elapsed() < kPatience) {
        if (!m_process.waitForReadyRead(kPatience))
            break;
        m_out += m_process.readAllStandardOutput();
    }
    return m_out.contains(text);
}

void RunningTool::sendSignal(int number) { ::kill(pid_t(m_process.processId()), number); }

ToolResult RunningTool::finish()
{
    m_process.waitForFinished(kPatience);
    const bool exited =
        m_process.exitStatus() == QProcess::NormalExit && m_process.state() == QProcess::NotRunning;
    return {exited ? m_process.exitCode() : -1, m_out + m_process.readAllStandardOutput(),
            m_process.readAllStandardError()};
}

ToolResult runTool(const QStringList &arguments) { return RunningTool(arguments).finish(); }

ToolResult runToolAfter(const QString &setUp, const QStringList &arguments)
{
    return RunningTool(arguments, setUp).finish();
}

testing::AssertionResult succeeds(const QStringList &arguments)
{
    const ToolResult result = runTool(arguments);
    if (result.exitCode == 0 && result.out.isEmpty() && result.err.isEmpty())
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << "exit code " << result.exitCode << ", \""
                                       << result.out.constData() << result.err.constData() << "\"";
}

testing::AssertionResult isOneErrorLine(const QByteArray &text, const QString &word)
{
    const bool good = text.startsWith("vellum: ") && text.count('\n') == 1 && text.endsWith('\n') &&
        QString::fromLocal8Bit(text).contains(word);
    if (good)
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << "\"" << text.constData() << "\"";
}

std::vector<QJsonObject> jsonLines(const QByteArray &text)
{
    std::vector<QJsonObject> objects;
    for (const QByteArray &line : text.split('\n')) {
        if (line.isEmpty())
            continue;
        const QJsonDocument document = QJsonDocument::fromJson(line);
        if (!document.isObject())
            return {};
        objects.push_back(document.object());
    }
    return objects;
}

QStringList Folder::names() const
{
    return QDir(m_folder.path())
        .entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                   QDir::Name);
}

QString Folder::write(const QString &name, const QByteArray &content) const
{
    QFile file(path(name));
    file.open(QIODevice::WriteOnly);
    file.write(content);
    return file.fileName();
}

QByteArray Folder::read(const QString &name) const
{
    QFile file(path(name));
    file.open(QIODevice::ReadOnly);
    return file.readAll();
}

QString Folder::writeGreymap(const QString &name, int width, int height) const
{
    const QByteArray header = QStringLiteral("P5\n%1 %2\n255\n").arg(width).arg(height).toLatin1();
    QFile file(write(name, header));
    file.resize(file.size() + qint64(width) * height);
    return file.fileName();
}

QString Folder::writePngHeader(const QString &name, int width, int height) const
{
    QByteArray header("IHDR\0\0\0\0\0\0\0\0\x08\0\0\0\0", 17);
    qToBigEndian(width, header.data() + 4);
    qToBigEndian(height, header.data() + 8);
    QByteArray sum(4, '\0');
    qToBigEndian(crc32(header), sum.data());
    return write(name,
                 QByteArray("\x89PNG\r\n\x1a\n\0\0\0\x0d", 12) + header + sum +
                     QByteArray("\0\0\1\0IDATx", 9));
}

QImage photoLike(int width, int height, QImage::Format format)
{
    QImage image(width, height, QImage::Format_ARGB32);
    QRandomGenerator random(7);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const int shade = 3 * x + 5 * y + ((x / 9 + y / 7) % 2) * 60;
            const int noise = random.bounded(16);
            const int alpha = 128 + random.bounded(128);
            image.setPixel(
                x, y, qRgba(shade & 255, (shade / 2 + noise) & 255, (200 - shade) & 255, alpha));
        }
    }
    return image.convertToFormat(format);
}

QImage maskLike(int width, int height)
{
    QImage image(width, height, QImage::Format_Grayscale8);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x)
            image.scanLine(y)[x] = (x > width / 3 && y / 16 % 3 == 1) ? 0 : 255;
    }
    return image;
}

QByteArray encoded(const QImage &image, const char *kind)
{
    QBuffer buffer;
    image.save(&buffer, kind);
    return buffer.data();
}

QImage asPng(const QImage &image) { return QImage::fromData(encoded(image, "png"), "png"); }

} // namespace vellum::test
