#include <vellum/io/limits.h>
#include <vellum/io/machinememory_p.h>

#include <QStringList>
#include <QtDebug>

#include <mutex>

namespace vellum {

namespace {

/// "400M" in ones, "none" as Limits::kNone.
std::optional<qint64> parsedNumber(QString text)
{
    if (text == QLatin1String("none"))
        return Limits::kNone;
    const int power = text.isEmpty() ? -1 : QStringLiteral("KMGT").indexOf(text.back());
    if (power >= 0)
        text.chop(1);
    const int shift = 10 * (power + 1);
    bool isNumber = false;
    const qint64 number = text.toLongLong(&isNumber);
    if (!isNumber || number < 1 || number > Limits::kNone >> shift)
        return std::nullopt;
    return number << shift;
}

Limits startingLimits()
{
    Limits base;
    base.memory = affordableMemory();
    const QString text = qEnvironmentVariable("VELLUM_LIMITS");
    const std::optional<Limits> limits = parsedLimits(text, base);
    if (!limits)
        qWarning().noquote() << "VELLUM_LIMITS is not understood:" << text;
    return limits.value_or(base);
}

struct Current
{
    std::mutex mutex;
    std::optional<Limits> limits;
};

Current &current()
{
    static auto *const current = new Current; // usable until the process ends
    return *current;
}

} // namespace

qint64 affordableMemory()
{
    const qint64 all = io::machineMemory();
    return all == Limits::kNone ? all : all / 2;
}

std::optional<Limits> parsedLimits(const QString &text, const Limits &base)
{
    Limits limits = base;
    if (text.isEmpty())
        return limits;
    const QStringList items = text.split(QLatin1Char(','));
    for (const QString &item : items) {
        const int sign = item.indexOf(QLatin1Char('='));
        const QString name = item.left(sign).trimmed();
        const std::optional<qint64> number = parsedNumber(item.mid(sign + 1).trimmed());
        if (sign < 0 || !number)
            return std::nullopt;
        if (name == QLatin1String("pixels"))
            limits.pixels = *number;
        else if (name == QLatin1String("memory"))
            limits.memory = *number;
        else
            return std::nullopt;
    }
    return limits;
}

Limits defaultLimits()
{
    {
        const std::lock_guard lock(current().mutex);
        if (current().limits)
            return *current().limits;
    }
    const Limits starting = startingLimits(); // may write a message: not under the lock
    const std::lock_guard lock(current().mutex);
    if (!current().limits)
        current().limits = starting;
    return *current().limits;
}

void setDefaultLimits(const Limits &limits)
{
    const std::lock_guard lock(current().mutex);
    current().limits = limits;
}

} // namespace vellum
