// Completion in bash, zsh and fish: of the tool itself, and of a definition with all there may be.

#include "shells.h"
#include "tool.h"

#include <QDir>
#include <QRegularExpression>

#include <CLI/CLI.hpp>
#include <gtest/gtest.h>

#include <programs/vellum/completion.h>
#include <tuple>

using namespace vellum::test;
using vellum::tool::Shell;

namespace {

/// Sorted, for messages that can be read.
std::string asText(QStringList words)
{
    words.sort();
    return words.join(QLatin1String(", ")).toStdString();
}

class Completing : public testing::Test
{
protected:
    Completing()
    {
        folder.write("input.png", "");
        folder.write("in put.png", "");
        folder.write("other.png", "");
        QDir(folder.path(QString())).mkdir("inner");
        QDir(folder.path(QString())).mkdir("archive");
    }

    std::string complete(CompletingShell shell, const QByteArray &script, const QString &line)
    {
        return asText(completions(shell, script, line, folder.path(QString())));
    }

    Folder folder;
};

QByteArray toolScript(CompletingShell shell)
{
    return runTool({"--completion", nameOf(shell)}).out;
}

/// The words of \a text that match \a pattern's first group.
QStringList captured(const QByteArray &text, const char *pattern)
{
    const QRegularExpression expression(QString::fromLatin1(pattern),
                                        QRegularExpression::MultilineOption);
    QStringList found;
    auto match = expression.globalMatch(QString::fromLocal8Bit(text));
    while (match.hasNext())
        found.append(match.next().captured(1));
    found.sort();
    found.removeDuplicates();
    return found;
}

QStringList commandsInHelp()
{
    const QByteArray help = runTool({"--help"}).out;
    const int start = help.indexOf("Commands:\n");
    return captured(help.mid(start, help.indexOf("\nOptions:") - start), "^  (\\S+) ");
}

/// A definition with commands in commands, words with colons, and every kind of value.
QByteArray scriptOfAll(CompletingShell shell)
{
    CLI::App app("Does all", "vellum");
    static std::string text;
    static std::vector<std::string> texts;
    static int number = 0;
    app.add_option("--limit", text, "It's [the] \"most\": $5, `x` and \\")->type_name("SIZE");
    app.add_flag("--secret", "Hidden")->group("");
    CLI::App *const pages = app.add_subcommand("pages", "Works on pages");
    CLI::App *const split = pages->add_subcommand("split", "Takes pages apart");
    split->add_option("IN", text, "A file")->required();
    split->add_option("-o,--output", text, "Where to")->type_name("DIR");
    split->add_option("--sampling", text, "How")->type_name("4:2:0|4:2:2|4:4:4");
    split->add_option("--profile", text, "Colours")->type_name("FILE|srgb|cmyk");
    split->add_option("--save", text, "Save it")->type_name("OUT.icc");
    split->add_option("--kind", text, "Kind")->type_name("png|tif")->option_text("NAME");
    CLI::App *const join = pages->add_subcommand("join", "Joins pages");
    join->add_option("IN", texts, "Files")->required();
    CLI::App *const cut = app.add_subcommand("cut", "Cuts");
    cut->add_option("IN", text, "A file")->required();
    cut->add_option("X", number, "A number")->required();
    CLI::Option_group *const group = cut->add_option_group("Size", "One of");
    group->add_option("--width", number, "Width")->check(CLI::Range(1, 9))->type_name("N");
    app.add_subcommand("hidden", "Hidden")->group("");
    return QByteArray::fromStdString(
        vellum::tool::completionScript(Shell(int(shell)), vellum::tool::definitionOf(app)));
}

struct Line
{
    const char *typed;
    QStringList offered;
};

void PrintTo(const Line &line, std::ostream *out) { *out << '"' << line.typed << '"'; }

class CompletionOf : public Completing,
                     public testing::WithParamInterface<std::tuple<CompletingShell, Line>>
{
};

class CompletionOfTool : public Completing, public testing::WithParamInterface<CompletingShell>
{
};

const auto kShells =
    testing::Values(CompletingShell::Bash, CompletingShell::Zsh, CompletingShell::Fish);

} // namespace

TEST_P(CompletionOf, LineIsWhatFits)
{
    const auto &[shell, line] = GetParam();
    if (!isInstalled(shell))
        GTEST_SKIP();

    EXPECT_EQ(complete(shell, scriptOfAll(shell), line.typed), asText(line.offered));
}

const QStringList kAllFiles {"archive", "in put.png", "inner", "input.png", "other.png"};

INSTANTIATE_TEST_SUITE_P(
    Definition, CompletionOf,
    testing::Combine(
        kShells,
        testing::Values(
            Line {"vellum ", {"cut", "pages"}}, Line {"vellum pa", {"pages"}},
            Line {"vellum hid", {}}, Line {"vellum --limit 4 c", {"cut"}},
            Line {"vellum --limit=4 c", {"cut"}}, Line {"vellum --l", {"--limit"}},
            Line {"vellum --sec", {}}, Line {"vellum --limit ", {}},
            Line {"vellum pages ", {"join", "split"}}, Line {"vellum pages s", {"split"}},
            Line {"vellum pages split --sa", {"--sampling", "--save"}},
            Line {"vellum pages split --sampling ", {"4:2:0", "4:2:2", "4:4:4"}},
            Line {"vellum pages split --sampling 4:2", {"4:2:0", "4:2:2"}},
            Line {"vellum pages split --sampling=4:4", {"4:4:4"}},
            Line {"vellum pages split --kind ", {"png", "tif"}},
            Line {"vellum pages split --kind=p", {"png"}},
            Line {"vellum pages split --save o", {"other.png"}},
            Line {"vellum pages split -o ", {"archive", "inner"}},
            Line {"vellum pages split --output=i", {"inner"}},
            Line {"vellum pages split ", kAllFiles},
            Line {"vellum pages split --profile ", kAllFiles + QStringList {"cmyk", "srgb"}},
            Line {"vellum pages split --profile=s", {"srgb"}},
            Line {"vellum pages split --kind png o", {"other.png"}},
            Line {"vellum pages split other.png o", {}},
            Line {"vellum pages join ot", {"other.png"}},
            Line {"vellum pages join a b c ot", {"other.png"}},
            Line {"vellum cut in", {"in put.png", "inner", "input.png"}},
            Line {"vellum cut input.png ", {}}, Line {"vellum cut --width ", {}},
            Line {"vellum cut --width 4 ot", {"other.png"}},
            Line {"vellum cut --width=4 ot", {"other.png"}}, Line {"vellum cut --wi", {"--width"}},
            Line {"vellum cut pages", {}})));

TEST_P(CompletionOfTool, CommandsAreThoseOfTheHelp)
{
    const CompletingShell shell = GetParam();
    if (!isInstalled(shell))
        GTEST_SKIP();
    const QStringList commands = commandsInHelp();
    ASSERT_TRUE(commands.contains("convert"));

    EXPECT_EQ(complete(shell, toolScript(shell), "vellum "), asText(commands));
}

TEST_P(CompletionOfTool, OptionsOfACommandAreThoseOfItsHelp)
{
    const CompletingShell shell = GetParam();
    if (!isInstalled(shell))
        GTEST_SKIP();
    const QByteArray script = toolScript(shell);
    for (const QString &command : commandsInHelp()) {
        SCOPED_TRACE(command.toStdString());
        const QStringList options =
            captured(runTool({command, "--help"}).out, "^  (?:-\\w, )?(--[a-z-]+)(?:[ .]|$)");
        ASSERT_TRUE(options.contains("--help"));

        EXPECT_EQ(complete(shell, script, "vellum " + command + " --"), asText(options));
    }
}

TEST_P(CompletionOfTool, WordsAndFilesAreOffered)
{
    const CompletingShell shell = GetParam();
    if (!isInstalled(shell))
        GTEST_SKIP();
    const QByteArray script = toolScript(shell);

    EXPECT_EQ(complete(shell, script, "vellum convert --storage "), "auto, big, plain");
    EXPECT_EQ(complete(shell, script, "vellum convert --format graysc"), "grayscale16, grayscale8");
    EXPECT_EQ(complete(shell, script, "vellum thumbnail -o "), "archive, inner");
    EXPECT_EQ(complete(shell, script, "vellum crop other.png inp"), "input.png");
}

INSTANTIATE_TEST_SUITE_P(Shells, CompletionOfTool, kShells);

TEST(Completion, OfAnUnknownShellIsRefused)
{
    const ToolResult result = runTool({"--completion", "csh"});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_TRUE(isOneErrorLine(result.err, "csh"));
}
