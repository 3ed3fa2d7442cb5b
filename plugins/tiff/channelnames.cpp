#include "tiff/channelnames.h"

#include <QString>
#include <QtEndian>

namespace vellum::plugin::tiff {

namespace {

constexpr quint16 kShortNames = 1006; // a length in a byte, then as many characters
constexpr quint16 kUnicodeNames = 1045; // a length in 32 bits, then as many UTF-16 units
constexpr char kSignature[] = "8BIM";

/// Big-endian numbers and bytes from a block, with an end that is looked after.
class Reader
{
public:
    explicit Reader(const QByteArray &bytes) : m_bytes(bytes) { }

    bool has(qint64 bytes) const { return bytes >= 0 && m_at + bytes <= m_bytes.size(); }
    QByteArray take(qint64 bytes)
    {
        const QByteArray taken = has(bytes) ? m_bytes.mid(int(m_at), int(bytes)) : QByteArray();
        m_at = has(bytes) ? m_at + bytes : m_bytes.size();
        return taken;
    }
    template <typename T>
    T number()
    {
        const QByteArray bytes = take(sizeof(T));
        return bytes.isEmpty() ? T(0) : qFromBigEndian<T>(bytes.constData());
    }
    void skipToEven() { take(m_at % 2); }

private:
    const QByteArray m_bytes;
    qint64 m_at = 0;
};

template <typename T>
void append(QByteArray &bytes, T number)
{
    const T swapped = qToBigEndian(number);
    bytes.append(reinterpret_cast<const char *>(&swapped), int(sizeof swapped));
}

QByteArray resource(QByteArray resources, quint16 wanted)
{
    Reader reader(resources);
    while (reader.has(12) && reader.take(4) == kSignature) {
        const auto id = reader.number<quint16>();
        reader.take(reader.number<quint8>()); // its own name
        reader.skipToEven();
        const QByteArray data = reader.take(reader.number<quint32>());
        reader.skipToEven();
        if (id == wanted)
            return data;
    }
    return {};
}

QStringList shortNames(const QByteArray &data)
{
    QStringList names;
    for (Reader reader(data); reader.has(1);)
        names.append(QString::fromLatin1(reader.take(reader.number<quint8>())));
    return names;
}

QStringList unicodeNames(const QByteArray &data)
{
    QStringList names;
    for (Reader reader(data); reader.has(4);) {
        const QByteArray units = reader.take(qint64(reader.number<quint32>()) * 2);
        QString name;
        for (int i = 0; i + 1 < units.size(); i += 2)
            name.append(QChar(qFromBigEndian<quint16>(units.constData() + i)));
        if (name.endsWith(QChar(0)))
            name.chop(1);
        names.append(name);
    }
    return names;
}

QByteArray record(quint16 id, const QByteArray &data)
{
    QByteArray bytes(kSignature);
    append<quint16>(bytes, id);
    append<quint16>(bytes, 0); // no name of its own
    append<quint32>(bytes, quint32(data.size()));
    bytes.append(data);
    if (data.size() % 2 != 0)
        bytes.append('\0');
    return bytes;
}

} // namespace

QStringList channelNamesOf(const QByteArray &resources)
{
    const QStringList names = unicodeNames(resource(resources, kUnicodeNames));
    return names.isEmpty() ? shortNames(resource(resources, kShortNames)) : names;
}

QByteArray resourcesWith(const QStringList &names)
{
    constexpr int kLongest = 255;
    QByteArray narrow;
    QByteArray wide;
    for (const QString &name : names) {
        const QByteArray characters = name.left(kLongest).toLatin1();
        narrow.append(char(characters.size())).append(characters);
        append<quint32>(wide, quint32(name.size() + 1));
        for (const QChar unit : name)
            append<quint16>(wide, unit.unicode());
        append<quint16>(wide, 0);
    }
    return record(kShortNames, narrow) + record(kUnicodeNames, wide);
}

} // namespace vellum::plugin::tiff
