#include "shells.h"

#include "tool.h"

#include <QProcess>
#include <QStandardPaths>

#include <algorithm>

namespace vellum::test {

namespace {

/// Calls the function with the words that readline would hand over.
const char kBash[] = R"sh(
source "$SCRIPT"
COMP_LINE=$LINE COMP_POINT=${#LINE} COMP_WORDS=()
blanks=1
for ((i = 0; i < ${#LINE}; i++)); do
    c=${LINE:i:1}
    if [[ $c == ' ' ]]; then
        blanks=1
    elif [[ -n $blanks || $c == [=:] || ${COMP_WORDS[-1]} == [=:] ]]; then
        COMP_WORDS+=("$c")
        blanks=
    else
        COMP_WORDS[-1]+=$c
    fi
done
[[ $LINE != *' ' ]] || COMP_WORDS+=('')
COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
"$(complete -p vellum | sed 's/.*-F \([^ ]*\).*/\1/')" vellum "${COMP_WORDS[-1]}"
# It replaces the last of them only.
word=${LINE##* } last=${COMP_WORDS[-1]}
[[ $last != [=:] ]] || last=
(( ${#COMPREPLY[@]} == 0 )) || printf -- "${word%"$last"}%s\n" "${COMPREPLY[@]}"
)sh";

/// Reads what complete prints, without the descriptions.
const char kFish[] = R"sh(
source $SCRIPT
complete -C "$LINE" | string replace -r '\t.*' ''
)sh";

/// Starts an interactive shell that completes as soon as it has a line to edit, and ends.
const char kZsh[] = R"sh(
zmodload zsh/zpty
zpty inner zsh -i
while zpty -r inner output; do :; done
)sh";

/// Of that shell. The builtin adds matches, of which it tells those that fit when asked with -O.
const char kZshStart[] = R"sh(
autoload -Uz compinit
compinit -D -u
source "$SCRIPT"
compadd() {
    local -a fitting
    if [[ "${argv[1,(i)(-|--)]}" != (*' '|)-[OAD]* ]]; then
        builtin compadd -O fitting "$@"
        (( $#fitting == 0 )) || print -rl -- $fitting >>"$MATCHES"
    fi
    builtin compadd "$@"
}
zle-line-init() {
    BUFFER=$LINE
    CURSOR=$#BUFFER
    zle complete-word
    exit
}
zle -N zle-line-init
bindkey '^I' complete-word
)sh";

/// "big" for "--storage=big", "inner" for "inner/", "a b" for "a\ b".
QString normalized(QString word)
{
    if (word.startsWith(QLatin1String("--")))
        word = word.section(QLatin1Char('='), word.endsWith(QLatin1Char('=')) ? 0 : -1);
    if (word.endsWith(QLatin1Char('=')) || word.endsWith(QLatin1Char('/')))
        word.chop(1);
    return word.remove(QLatin1Char('\\'));
}

QByteArray output(const QStringList &command, const QProcessEnvironment &environment,
                  const QString &folder)
{
    makeApplication();
    QProcess process;
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(folder);
    process.start(command.first(), command.mid(1), QIODevice::ReadOnly);
    process.waitForFinished(120000);
    return process.readAllStandardOutput();
}

} // namespace

QString nameOf(CompletingShell shell)
{
    constexpr const char *kNames[] = {"bash", "zsh", "fish"};
    return QLatin1String(kNames[int(shell)]);
}

bool isInstalled(CompletingShell shell)
{
    return !QStandardPaths::findExecutable(nameOf(shell)).isEmpty();
}

QStringList completions(CompletingShell shell, const QByteArray &script, const QString &line,
                        const QString &folder)
{
    const Folder own;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("SCRIPT", own.write("script", script));
    environment.insert("LINE", line);
    environment.insert("MATCHES", own.path("matches"));
    environment.insert("ZDOTDIR", own.path(QString()));
    environment.insert("HOME", own.path(QString()));
    environment.insert("TERM", "xterm");
    own.write(".zshrc", kZshStart);
    own.write("matches", {});

    QByteArray words;
    if (shell == CompletingShell::Bash) {
        words = output({"bash", "--norc", "-c", kBash}, environment, folder);
    } else if (shell == CompletingShell::Fish) {
        words = output({"fish", "--no-config", "-c", kFish}, environment, folder);
    } else {
        output({"zsh", "-f", "-c", kZsh}, environment, folder);
        words = own.read("matches");
    }
    QStringList found;
    for (const QByteArray &word : words.split('\n')) {
        if (!word.isEmpty())
            found.append(normalized(QString::fromLocal8Bit(word)));
    }
    found.sort();
    found.removeDuplicates();
    return found;
}

} // namespace vellum::test
