// The manual pages, as man and groff read them, and what the build has the tool write.

#include "tool.h"

#include <QDir>
#include <QProcess>
#include <QStandardPaths>

#include <CLI/CLI.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <programs/vellum/manual.h>

using namespace vellum::test;
using testing::HasSubstr;

namespace {

/// All pages of the tool, in a folder.
class Manual : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(succeeds({"--write-documents", folder.path("share")}));
        names = QDir(folder.path("share/man/man1")).entryList(QDir::Files);
        ASSERT_TRUE(names.contains("vellum.1"));
        ASSERT_TRUE(names.contains("vellum-convert.1"));
    }

    QString path(const QString &name) const { return folder.path("share/man/man1/" + name); }

    QByteArray page(const QString &name) const { return folder.read("share/man/man1/" + name); }

    Folder folder;
    QStringList names;
};

/// What \a command prints, errors included.
QByteArray printed(const QStringList &command)
{
    makeApplication();
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(command.first(), command.mid(1), QIODevice::ReadOnly);
    process.waitForFinished(120000);
    return process.readAll();
}

bool isInstalled(const char *program)
{
    return !QStandardPaths::findExecutable(QLatin1String(program)).isEmpty();
}

std::string pageOf(const CLI::App &app)
{
    const vellum::tool::CommandDefinition tool = vellum::tool::definitionOf(app);
    return vellum::tool::manualPage(tool, tool);
}

} // namespace

TEST_F(Manual, HasAPageForEveryCommand)
{
    const QByteArray help = runTool({"--help"}).out;
    int commands = 0;
    for (const QString &name : names) {
        if (name != "vellum.1" && name.count('-') == 1) {
            ++commands;
            EXPECT_TRUE(help.contains("\n  " + name.mid(7).chopped(2).toLatin1() + ' '))
                << name.toStdString();
        }
    }
    const QByteArray list = help.mid(help.indexOf("Commands:\n") + 10);
    EXPECT_EQ(commands, list.left(list.indexOf("\nOptions:")).count('\n') + 1);
}

TEST_F(Manual, PagesHaveTheUsualSections)
{
    for (const QString &name : names) {
        for (const char *section : {"NAME", "SYNOPSIS", "DESCRIPTION", "OPTIONS", "EXAMPLES",
                                    "EXIT STATUS", "ENVIRONMENT", "SEE ALSO"}) {
            EXPECT_TRUE(page(name).contains(QByteArray(".SH \"") + section + "\"\n"))
                << name.toStdString() << ' ' << section;
        }
    }
}

TEST_F(Manual, PagesAreFormattedWithoutAWarning)
{
    if (!isInstalled("groff") || !isInstalled("man"))
        GTEST_SKIP();
    qputenv("MANROFFSEQ", "");
    qputenv("MANWIDTH", "80");
    for (const QString &name : names) {
        EXPECT_EQ(printed({"groff", "-ww", "-man", "-z", path(name)}), "") << name.toStdString();
        EXPECT_EQ(printed({"sh", "-c", "man --warnings -E UTF-8 -l -Tutf8 -Z \"$0\" >/dev/null",
                           path(name)}),
                  "")
            << name.toStdString();
    }
}

TEST_F(Manual, PagesAreFoundByWhatTheyAreAbout)
{
    if (!isInstalled("lexgrog"))
        GTEST_SKIP();
    for (const QString &name : names) {
        const QByteArray found = printed({"lexgrog", path(name)});
        EXPECT_TRUE(found.contains(": \"" + name.chopped(2).toLatin1() + " - ")) << found.data();
    }
}

TEST_F(Manual, PagesShowWhatTheHelpShows)
{
    if (!isInstalled("man"))
        GTEST_SKIP();
    qputenv("MANWIDTH", "500"); // descriptions on one line each
    const QByteArray text =
        printed({"man", "-E", "ascii", "-P", "cat", "-l", path("vellum-convert.1")});

    EXPECT_TRUE(text.contains("vellum convert [OPTIONS] FILES...\n"));
    EXPECT_TRUE(text.contains("--storage auto|plain|big\n"));
    EXPECT_TRUE(text.contains("-v, --verbose\n"));
    EXPECT_TRUE(text.contains("  vellum convert photo.jpg photo.hrle\n"));
    EXPECT_TRUE(text.contains(" vellum(1), "));
}

TEST_F(Manual, IsPrintedByTheToolAndByItsCommands)
{
    EXPECT_EQ(runTool({"--man"}).out, page("vellum.1"));
    EXPECT_EQ(runTool({"convert", "--man"}).out, page("vellum-convert.1"));
}

TEST_F(Manual, IsTheSameWhenWrittenAgain)
{
    ASSERT_TRUE(succeeds({"--write-documents", folder.path("again")}));

    EXPECT_EQ(printed({"diff", "-r", folder.path("share"), folder.path("again")}), "");
}

TEST_F(Manual, ScriptsStandWhereShellsLook)
{
    EXPECT_EQ(folder.read("share/bash-completion/completions/vellum"),
              runTool({"--completion", "bash"}).out);
    EXPECT_EQ(folder.read("share/zsh/site-functions/_vellum"),
              runTool({"--completion", "zsh"}).out);
    EXPECT_EQ(folder.read("share/fish/vendor_completions.d/vellum.fish"),
              runTool({"--completion", "fish"}).out);
}

TEST(ManualPage, TakesTextAsItIs)
{
    CLI::App app("Very odd: .text, it's \\fBnot\\fR ~bold~ \u2013 \"quoted\"", "vellum");
    app.footer(".TH starts this, and\n'this' too.\n\nExamples:\n  'a' \\ --b ^c `d`\n  .e");
    const Folder folder;
    const QString file = folder.write("a.1", QByteArray::fromStdString(pageOf(app)));
    if (!isInstalled("man"))
        GTEST_SKIP();
    qputenv("MANWIDTH", "80");

    const QString text =
        QString::fromUtf8(printed({"man", "-E", "UTF-8", "-P", "cat", "-l", file}));

    EXPECT_TRUE(text.contains(QString::fromUtf8(" ~bold~ \u2013 \"quoted\"")))
        << text.toStdString();
    EXPECT_TRUE(text.contains("\\fBnot\\fR")) << text.toStdString();
    EXPECT_TRUE(text.contains(" .TH starts this, and 'this' too.")) << text.toStdString();
    EXPECT_TRUE(text.contains("  'a' \\ --b ^c `d`\n")) << text.toStdString();
    EXPECT_TRUE(text.contains("  .e\n")) << text.toStdString();
}

TEST(ManualPage, OfACommandInACommandNamesItsPath)
{
    CLI::App app("All", "vellum");
    app.add_subcommand("pages", "Pages")->add_subcommand("split", "Take pages apart");
    const vellum::tool::CommandDefinition tool = vellum::tool::definitionOf(app);

    const std::string page = vellum::tool::manualPage(tool.commands[0].commands[0], tool);

    EXPECT_THAT(page, HasSubstr("vellum\\-pages\\-split \\- take pages apart\n"));
    EXPECT_THAT(page, HasSubstr(".B vellum pages split\n"));
    EXPECT_THAT(page, HasSubstr("\\fBvellum\\-pages\\fR(1)"));
}

TEST(WriteDocuments, ToAFileIsAnError)
{
    const Folder folder;
    const QString file = folder.write("file", "old");

    const ToolResult result = runTool({"--write-documents", file});

    EXPECT_EQ(result.exitCode, 3);
    EXPECT_TRUE(isOneErrorLine(result.err, file));
    EXPECT_EQ(folder.read("file"), "old");
}
