// Stopping the vellum program with a signal: exit code 130, soon, and nothing left behind.

#include "tool.h"

#include <QElapsedTimer>

#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <pty.h>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace vellum::test;

namespace {

// The program promises 200 ms; busy machines and sanitizers get some more.
constexpr qint64 kSoon = 1000;

class Cancel : public testing::TestWithParam<int>
{
protected:
    Cancel() { folder.write("out.png", "old"); }

    /// Converts \a in with JSON progress, sends the signal once \a stage has begun, and expects
    /// the end.
    void cancelIn(const QString &in, const QByteArray &stage)
    {
        cancelIn(stage, {"convert", in, folder.path("out.png")});
    }

    /// The same with another command line.
    void cancelIn(const QByteArray &stage, const QStringList &arguments)
    {
        const QStringList before = folder.names();
        RunningTool tool(arguments + QStringList {"--progress", "json", "--storage", "big"},
                         "export TSAN_OPTIONS=${TSAN_OPTIONS:-}:atexit_sleep_ms=0");
        ASSERT_TRUE(tool.waitForOutput('"' + stage + '"'));
        EXPECT_EQ(folder.names().size(), before.size() + 1)
            << "no temporary file beside the target";

        QElapsedTimer clock;
        clock.start();
        tool.sendSignal(GetParam());
        const ToolResult result = tool.finish();

        EXPECT_LT(clock.elapsed(), kSoon);
        EXPECT_EQ(result.exitCode, 130);
        EXPECT_TRUE(isOneErrorLine(result.err, "cancelled"));
        EXPECT_EQ(folder.read("out.png"), "old");
        EXPECT_EQ(folder.names(), before);
    }

    Folder folder;
};

} // namespace

// Large enough that no stage ends before the signal comes.
TEST_P(Cancel, WhileReading) { cancelIn(folder.writeGreymap("in.pgm", 16000, 16000), "read"); }

TEST_P(Cancel, WhileMovingTheRows)
{
    cancelIn(folder.writeGreymap("in.pgm", 16000, 16000), "convert");
}

// Too large to be held: rows go from file to file.
TEST_P(Cancel, WhileStreaming) { cancelIn(folder.writeGreymap("in.pgm", 20000, 18000), "convert"); }

TEST_P(Cancel, WhileWriting) { cancelIn(folder.writeGreymap("in.pgm", 16000, 16000), "write"); }

TEST_P(Cancel, WhileRotating)
{
    const QString in = folder.writeGreymap("in.pgm", 9000, 9000);
    cancelIn("rotate", {"rotate", "--angle", "33", in, folder.path("out.png")});
}

TEST_P(Cancel, WhileMirroring)
{
    const QString in = folder.writeGreymap("in.pgm", 9000, 9000);
    cancelIn("mirror", {"mirror", "--horizontal", in, folder.path("out.png")});
}

TEST_P(Cancel, WhileCropping)
{
    const QString in = folder.writeGreymap("in.pgm", 9000, 9000);
    cancelIn("crop", {"crop", in, folder.path("out.png"), "-100", "-100", "9900", "9900"});
}

TEST_P(Cancel, WhilePasting)
{
    const QString in = folder.writeGreymap("in.pgm", 9000, 9000);
    cancelIn("paste", {"paste", in, in, folder.path("out.png"), "-100", "-100"});
}

TEST_P(Cancel, WhileDithering)
{
    const QString in = folder.writeGreymap("in.pgm", 16000, 16000);
    cancelIn("convert", {"convert", "--format", "mono", in, folder.path("out.png")});
}

TEST_P(Cancel, WhileComparing)
{
    const QString in = folder.writeGreymap("in.pgm", 16000, 16000);
    const QString other = folder.writeGreymap("other.pgm", 16000, 16000);
    cancelIn("compare", {"compare", in, other, "--map", folder.path("out.png")});
}

TEST_P(Cancel, WhileWritingAChannel)
{
    const QString in = folder.writeGreymap("in.pgm", 16000, 16000);
    cancelIn("write", {"channels", "--all", in, "-o", folder.path(".")});
}

TEST_P(Cancel, WhileSplittingPages)
{
    const QString in = folder.writeGreymap("in.pgm", 16000, 16000);
    cancelIn("write", {"pages", "split", in, "--type", "png", "-o", folder.path(".")});
}

TEST_P(Cancel, WhileJoiningPages)
{
    const QString in = folder.writeGreymap("in.pgm", 16000, 16000);
    cancelIn("write", {"pages", "join", in, in, folder.path("out.tif")});
}

// A decoder that waits for a device cannot be asked to stop: the process ends under it.
TEST_P(Cancel, WhileTheDecoderHangs)
{
    const QString in = folder.path("in.pgm");
    ASSERT_EQ(mkfifo(in.toLocal8Bit().constData(), 0600), 0);
    const int pipe = open(in.toLocal8Bit().constData(), O_RDWR);
    ASSERT_GE(pipe, 0);
    const QByteArray start = "P5\n3000 3000\n255\n" + QByteArray(40000, 'x');
    ASSERT_EQ(write(pipe, start.constData(), size_t(start.size())), start.size());

    cancelIn(in, "read");
    close(pipe);
}

INSTANTIATE_TEST_SUITE_P(Signals, Cancel, testing::Values(SIGINT, SIGTERM, SIGHUP));

TEST(CancelIgnored, SignalThatTheCallerWantsIgnoredIsIgnored)
{
    const Folder folder;
    const QString in = folder.writeGreymap("in.pgm", 8000, 8000);
    RunningTool tool({"convert", "--progress", "json", in, folder.path("out.png")},
                     "trap '' INT HUP");
    ASSERT_TRUE(tool.waitForOutput("\"read\""));

    tool.sendSignal(SIGINT);
    tool.sendSignal(SIGHUP);

    EXPECT_EQ(tool.finish().exitCode, 0);
    EXPECT_EQ(folder.names(), QStringList({"in.pgm", "out.png"}));
}

namespace {

/// What the program prints on a terminal of its own, to the end or to the first \a until, upon
/// which Ctrl-C is pressed.
QByteArray onTerminal(const QStringList &arguments, int &exitCode, const QByteArray &until = {})
{
    std::vector<QByteArray> words {VELLUM_TOOL};
    for (const QString &argument : arguments)
        words.push_back(argument.toLocal8Bit());
    std::vector<char *> argv;
    for (QByteArray &word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);

    int terminal = -1;
    const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
    if (child == 0) {
        setenv("TERM", "xterm", 1);
        execv(argv[0], argv.data());
        _exit(99);
    }
    QByteArray text;
    char buffer[4096];
    bool pressed = until.isEmpty();
    for (ssize_t count = 0; (count = read(terminal, buffer, sizeof buffer)) > 0;) {
        text.append(buffer, int(count));
        if (!pressed && text.contains(until)) {
            pressed = write(terminal, "\x03", 1) == 1;
            text.clear();
        }
    }
    close(terminal);
    int status = 0;
    waitpid(child, &status, 0);
    exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return text;
}

} // namespace

TEST(Terminal, ShowsABarWithPercentAndTimeLeft)
{
    const Folder folder;
    const QString in = folder.writeGreymap("in.pgm", 12000, 12000);

    int exitCode = -1;
    const QByteArray text = onTerminal({"convert", in, folder.path("out.png")}, exitCode);

    EXPECT_EQ(exitCode, 0);
    EXPECT_TRUE(text.contains("in.pgm"));
    EXPECT_TRUE(text.contains(" 50% ETA 0:")) << text.constData();
    EXPECT_TRUE(text.contains("100% "));
}

TEST(Terminal, ControlCRemovesTheBarAndSaysSoInOneLine)
{
    const Folder folder;
    const QString in = folder.writeGreymap("in.pgm", 16000, 16000);

    int exitCode = -1;
    const QByteArray text = onTerminal({"convert", in, folder.path("out.png")}, exitCode, "write");

    EXPECT_EQ(exitCode, 130);
    EXPECT_EQ(folder.names(), QStringList({"in.pgm"}));
    const int message = text.indexOf("\r\033[Kvellum: ");
    ASSERT_GE(message, 0) << text.constData();
    EXPECT_TRUE(text.endsWith("cancelled\r\n"));
    EXPECT_EQ(text.mid(message).count('\n'), 1);
}
