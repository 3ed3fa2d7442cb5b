// What --help and --version show.

#include "tool.h"

#include <QRegularExpression>

#include <CLI/CLI.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <lcms2.h>

#include <programs/vellum/help.h>
#include <programs/vellum/textblocks.h>

using namespace vellum::test;
using namespace vellum::tool;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

/// The names in the list of commands.
QStringList commands()
{
    const QString help = QString::fromLocal8Bit(runTool({"--help"}).out);
    const QString list = help.section("Commands:\n", 1).section("\nOptions:", 0, 0);
    QStringList names;
    for (const QString &line : list.split('\n'))
        names.append(line.trimmed().section(' ', 0, 0));
    return names;
}

std::vector<QStringList> allCalls()
{
    std::vector<QStringList> calls {{"--help"}};
    for (const QString &command : commands())
        calls.push_back({command, "--help"});
    return calls;
}

/// What an application of one command helps with.
class DefinedHelp : public testing::Test
{
protected:
    DefinedHelp()
    {
        app.formatter(std::make_shared<HelpFormatter>());
        command = app.add_subcommand("cut", "Cuts");
    }

    std::string help() const { return command->help(); }

    CLI::App app {"Does all", "vellum"};
    CLI::App *command;
    std::string text;
    int number = 0;
};

} // namespace

TEST(Help, HasLinesOfAtMost80Columns)
{
    for (const QStringList &call : allCalls()) {
        const ToolResult result = runTool(call);
        ASSERT_EQ(result.exitCode, 0) << call.first().toStdString();
        for (const QByteArray &line : result.out.split('\n'))
            EXPECT_LE(QString::fromLocal8Bit(line).size(), 80) << line.constData();
    }
}

TEST(Help, HasExamplesOfEachCommand)
{
    for (const QStringList &call : allCalls()) {
        const QString help = QString::fromLocal8Bit(runTool(call).out);
        const QString example =
            call.size() == 1 ? "\n  vellum " : "\n  vellum " + call.first() + ' ';
        EXPECT_TRUE(help.contains(QRegularExpression("\nExamples?:\n"))) << help.toStdString();
        EXPECT_TRUE(help.contains(example)) << help.toStdString();
    }
}

TEST(Help, OfTheToolFitsOnAScreen)
{
    const ToolResult result = runTool({"--help"});

    constexpr int kLinesForCommands = 12; // of 24, with the line that the user types next
    EXPECT_LE(result.out.count('\n') - commands().size() + kLinesForCommands, 25);
}

TEST(Help, ListsExitCodes)
{
    const QByteArray help = runTool({"--help"}).out.simplified();

    for (const char *code : {"0 done", "1 wrong usage", "2 an input", "3 the output", "4 over",
                             "5 done in part", "6 different", "130 cancelled"})
        EXPECT_TRUE(help.contains(code)) << code;
}

TEST_F(DefinedHelp, LeavesHiddenOptionsOut)
{
    command->add_flag("--secret", "Hidden")->group("");
    command->add_flag("--open", "Not hidden");

    EXPECT_THAT(help(), Not(HasSubstr("--secret")));
    EXPECT_THAT(help(), HasSubstr("  --open      Not hidden\n"));
}

TEST_F(DefinedHelp, UsageHasWhatIsRequired)
{
    command->add_option("--angle", number, "Angle")->required()->type_name("DEGREES");
    command->add_option("IN", text, "Input")->required();
    command->add_option("OUT", text, "Output");

    EXPECT_THAT(help(), HasSubstr("\nUsage: vellum cut --angle DEGREES [OPTIONS] IN [OUT]\n"));
}

TEST_F(DefinedHelp, ShowsTypeNamesWithoutTheirChecks)
{
    command->add_option("-n,--number", number, "A number")->check(CLI::Range(1, 9))->type_name("N");

    EXPECT_THAT(help(), HasSubstr("  -n, --number N  A number\n"));
}

TEST_F(DefinedHelp, ShowsTextInPlaceOfATypeName)
{
    command->add_option("--kind", text, "The kind")->type_name("a|b|c")->option_text("KIND");

    EXPECT_THAT(help(), HasSubstr("  --kind KIND  The kind\n"));
}

TEST_F(DefinedHelp, SaysWhatAnOptionNeedsUnlessItsDescriptionDoes)
{
    CLI::Option *const size = command->add_option("--size", text, "The size");
    command->add_flag("--fit", "Fit")->needs(size);
    command->add_flag("--fill", "With --size: fill")->needs(size);

    EXPECT_THAT(help(), HasSubstr("  --fit        Fit (with --size)\n"));
    EXPECT_THAT(help(), HasSubstr("  --fill       With --size: fill\n"));
}

TEST_F(DefinedHelp, KeepsGroupsOfOptionsTogether)
{
    CLI::Option_group *const group = command->add_option_group("Sides", "At least one of");
    group->add_flag("--left", "The left one");

    EXPECT_THAT(help(), HasSubstr("\n\nSides: At least one of:\n  --left  The left one\n"));
}

TEST(TextBlocks, AreProseAndLines)
{
    const std::vector<TextBlock> blocks = textBlocks("Some prose\nin two lines.\n\n"
                                                     "Formats:\n    a b\n      c\n\n"
                                                     "  alone\n");

    ASSERT_EQ(blocks.size(), 3u);
    EXPECT_EQ(blocks[0].prose, "Some prose in two lines.");
    EXPECT_EQ(blocks[1].heading, "Formats");
    EXPECT_THAT(blocks[1].lines, ElementsAre("a b", "  c"));
    EXPECT_EQ(blocks[2].heading, "");
    EXPECT_THAT(blocks[2].lines, ElementsAre("alone"));
}

TEST(TextBlocks, AreWrappedByCharactersNotBytes)
{
    EXPECT_THAT(wrapped("\u00e4\u00e4\u00e4 \u00f6\u00f6 abcdefgh x", 6),
                ElementsAre("\u00e4\u00e4\u00e4 \u00f6\u00f6", "abcdefgh", "x"));
}

TEST(Version, IsThoseOfTheProjectAndOfItsLibraries)
{
    const ToolResult result = runTool({"--version"});

    EXPECT_EQ(result.exitCode, 0);
    EXPECT_TRUE(result.out.startsWith("vellum " VELLUM_VERSION "\n"));
    EXPECT_TRUE(result.out.contains(QByteArray("\nQt ") + qVersion() + '\n'));
    EXPECT_TRUE(result.out.contains("\nLittle CMS " +
                                    QByteArray::number(cmsGetEncodedCMMversion() / 1000.0) + '\n'));
#ifdef VELLUM_HAVE_PLUGINS
    for (const char *codec : {"libexif", "libjpeg", "libpng", "libtiff", "zlib"})
        EXPECT_TRUE(QString::fromLatin1(result.out)
                        .contains(QRegularExpression(QString("\n%1(-turbo)? [0-9]").arg(codec))))
            << codec;
#endif
}

TEST(Version, TellsWhichVectorInstructionsAreInUse)
{
    const QByteArray with = runTool({"--version"}).out;
    const QByteArray without = runToolAfter("export QT_NO_CPU_FEATURE=sse4.1", {"--version"}).out;

    EXPECT_TRUE(with.contains("\nvector instructions: "));
    EXPECT_TRUE(without.contains("\nvector instructions: "));
    EXPECT_FALSE(without.contains("SSE4.1"));
}

TEST(Version, OnAFullDiskIsAnError)
{
    const ToolResult result = runToolAfter("exec >/dev/full", {"--version"});

    EXPECT_EQ(result.exitCode, 3);
    EXPECT_TRUE(isOneErrorLine(result.err, "standard output"));
}
