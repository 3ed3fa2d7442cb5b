// Running the vellum program as a user would.
#pragma once

#include <QByteArray>
#include <QImage>
#include <QJsonObject>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <vector>

namespace vellum::test {

/// Makes the application object that QProcess wants, if there is none.
void makeApplication();

struct ToolResult
{
    int exitCode; ///< -1 when a signal ended it
    QByteArray out;
    QByteArray err;
};

ToolResult runTool(const QStringList &arguments);

/// Runs it after \a setUp, a line of shell: limits, traps, umask.
ToolResult runToolAfter(const QString &setUp, const QStringList &arguments);

/// The program while it works.
class RunningTool
{
public:
    explicit RunningTool(const QStringList &arguments, const QString &setUp = QStringLiteral(":"));

    /// Waits until standard output has had a line that contains \a text.
    bool waitForOutput(const QByteArray &text);

    void sendSignal(int number);
    ToolResult finish();

private:
    QProcess m_process;
    QByteArray m_out;
};

/// Success if the program does what \a arguments say, and says nothing.
testing::AssertionResult succeeds(const QStringList &arguments);

/// Success if \a text is "vellum: REST" with the given words in REST, and one line.
testing::AssertionResult isOneErrorLine(const QByteArray &text, const QString &word = QString());

/// The objects of a text with one JSON object per line; an empty list if one does not parse.
std::vector<QJsonObject> jsonLines(const QByteArray &text);

/// A folder for the files of one test.
class Folder
{
public:
    QString path(const QString &name) const { return m_folder.filePath(name); }
    QStringList names() const; ///< of everything in it, hidden files too, sorted
    QString write(const QString &name, const QByteArray &content) const; ///< returns the path
    QByteArray read(const QString &name) const;

    /// The header of a portable greymap, and as many zeros as it asks for, without using up disk.
    QString writeGreymap(const QString &name, int width, int height) const;

    /// The begin of a PNG file with an 8-bit grey picture, without pixels: fails to decode.
    QString writePngHeader(const QString &name, int width, int height) const;

private:
    QTemporaryDir m_folder;
};

/// Smooth shades, edges and a little noise: what a photograph has.
QImage photoLike(int width, int height, QImage::Format format = QImage::Format_RGB32);

/// Black shapes on white.
QImage maskLike(int width, int height);

/// \a image as a file of the kind \a kind holds it.
QByteArray encoded(const QImage &image, const char *kind);

/// \a image after a way through a PNG file.
QImage asPng(const QImage &image);

} // namespace vellum::test
