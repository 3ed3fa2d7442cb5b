#include "jpeg/xmppacket.h"

#include <QXmlStreamReader>
#include <QXmlStreamWriter>

#include <algorithm>

namespace vellum::plugin {

namespace {

const QString kRdf = QStringLiteral("http://www.w3.org/1999/02/22-rdf-syntax-ns#");
const QString kNote = QStringLiteral("http://ns.adobe.com/xmp/note/");
const QString kNoteName = QStringLiteral("HasExtendedXMP");

bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

/// The name of an element or of an attribute.
template <typename Named>
bool isNote(const Named &named)
{
    return named.namespaceUri() == kNote && named.name() == kNoteName;
}

template <typename Named>
bool isRdf(const Named &named, const char *name)
{
    return named.namespaceUri() == kRdf && named.name() == QLatin1String(name);
}

/// Whether no tag has more attributes than any XMP needs: comparing them with each other takes
/// the square of their number. Counts what may be one, since the last tag began.
bool hasFewAttributes(const QString &xml)
{
    constexpr int kMost = 1000;
    int count = 0;
    bool isAfterEquals = false;
    for (const QChar c : xml) {
        if (c == QLatin1Char('<'))
            count = 0;
        else if (isAfterEquals && (c == QLatin1Char('"') || c == QLatin1Char('\'')))
            ++count;
        if (count > kMost)
            return false;
        isAfterEquals = c == QLatin1Char('=') || (isAfterEquals && c.isSpace());
    }
    return true;
}

/// Writes what readers are at into one packet.
class Joiner
{
public:
    explicit Joiner(int mostSize) : m_out(&m_text), m_mostSize(mostSize) { }

    /// Copies \a in to its end; the descriptions in \a rest follow its own.
    bool join(QXmlStreamReader &in, QXmlStreamReader &rest)
    {
        bool hasJoined = false;
        while (!in.atEnd()) {
            in.readNext();
            if (!hasJoined && in.isEndElement() && isRdf(in, "RDF")) {
                if (!copyDescriptions(rest))
                    return false;
                hasJoined = true;
            }
            if (!copyToken(in))
                return false;
        }
        return hasJoined && !in.hasError();
    }

    QString text() const { return m_text; }

private:
    bool copyDescriptions(QXmlStreamReader &in)
    {
        while (!(in.isStartElement() && isRdf(in, "RDF"))) {
            if (in.atEnd() || in.isDTD())
                return false;
            in.readNext();
        }
        const int outside = m_depth;
        for (;;) {
            in.readNext();
            if (in.isEndElement() && m_depth == outside)
                return true;
            if (!copyToken(in))
                return false;
        }
    }

    bool copyToken(QXmlStreamReader &in)
    {
        switch (in.tokenType()) {
        case QXmlStreamReader::StartDocument:
        case QXmlStreamReader::EndDocument:
            return true;
        case QXmlStreamReader::StartElement:
            if (!isNote(in))
                return copyStart(in);
            in.skipCurrentElement();
            return true;
        case QXmlStreamReader::EndElement:
            --m_depth;
            m_out.writeEndElement();
            return true;
        case QXmlStreamReader::Characters:
        case QXmlStreamReader::Comment:
        case QXmlStreamReader::ProcessingInstruction:
            m_out.writeCurrentToken(in);
            return m_text.size() <= m_mostSize;
        default: // entities and the like, of which XMP has none
            return false;
        }
    }

    bool copyStart(const QXmlStreamReader &in)
    {
        constexpr int kDeepest = 256;
        constexpr int kMostNamespaces = 4096;
        m_out.writeCharacters({}); // ends the tag before, which the namespaces are not for
        const auto namespaces = in.namespaceDeclarations();
        m_namespaces += namespaces.size();
        if (++m_depth > kDeepest || m_namespaces > kMostNamespaces)
            return false;
        for (const QXmlStreamNamespaceDeclaration &declared : namespaces) {
            if (declared.prefix().isEmpty())
                m_out.writeDefaultNamespace(declared.namespaceUri().toString());
            else
                m_out.writeNamespace(declared.namespaceUri().toString(),
                                     declared.prefix().toString());
        }
        m_out.writeStartElement(in.namespaceUri().toString(), in.name().toString());
        const QXmlStreamAttributes attributes = in.attributes();
        for (const QXmlStreamAttribute &attribute : attributes) {
            if (!isNote(attribute))
                m_out.writeAttribute(attribute);
        }
        return m_text.size() <= m_mostSize;
    }

    QString m_text;
    QXmlStreamWriter m_out;
    int m_mostSize;
    int m_depth = 0;
    int m_namespaces = 0; // declared so far
};

/// Whether \a attribute, of an rdf:Description, is no property.
bool isNoProperty(const QXmlStreamAttribute &attribute)
{
    return isNote(attribute) || isRdf(attribute, "about");
}

} // namespace

XmpWrapping unwrapped(const QByteArray &packet)
{
    constexpr int kMostAround = 16 << 10; // leaves room for a body in a marker
    const int headEnd = packet.indexOf("?>") + 2;
    const int tailStart = packet.lastIndexOf("<?xpacket end");
    if (!packet.startsWith("<?xpacket begin") || headEnd < 2 || tailStart < headEnd)
        return {{}, packet, {}};
    const char *const bytes = packet.constData();
    int first = headEnd;
    int last = tailStart;
    while (first < last && isSpace(bytes[first]))
        ++first;
    while (last > first && isSpace(bytes[last - 1]))
        --last;
    if (first > kMostAround || packet.size() - last > kMostAround)
        return {{}, packet, {}};
    return {packet.left(first), packet.mid(first, last - first), packet.mid(last)};
}

XmpNote noteIn(const QString &packet)
{
    QXmlStreamReader in(packet);
    XmpNote note {{}, true};
    bool isInside = false; // rdf:RDF
    while (!in.atEnd() && !in.isDTD()) {
        in.readNext();
        if (!in.isStartElement())
            continue;
        if (isNote(in)) {
            note.guid = in.readElementText().toLatin1();
            continue;
        }
        const QXmlStreamAttributes attributes = in.attributes();
        if (isInside) {
            note.isAlone = note.isAlone && isRdf(in, "Description") &&
                std::all_of(attributes.begin(), attributes.end(), isNoProperty);
        }
        const auto found =
            std::find_if(attributes.begin(), attributes.end(), isNote<QXmlStreamAttribute>);
        if (found != attributes.end())
            note.guid = found->value().toLatin1();
        isInside = isInside || isRdf(in, "RDF");
    }
    return in.hasError() ? XmpNote() : note;
}

QByteArray bodyWithNote(const QByteArray &guid)
{
    return "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\"><rdf:RDF xmlns:rdf=\"" + kRdf.toUtf8() +
        "\"><rdf:Description rdf:about=\"\" xmlns:xmpNote=\"" + kNote.toUtf8() +
        "\" xmpNote:" + kNoteName.toUtf8() + "=\"" + guid + "\"/></rdf:RDF></x:xmpmeta>";
}

QString joinedPackets(const QString &packet, const QString &rest)
{
    constexpr int kMostGrowth = 8; // quotes become six characters each
    if (!hasFewAttributes(packet) || !hasFewAttributes(rest))
        return {};
    QXmlStreamReader in(packet);
    QXmlStreamReader more(rest);
    Joiner joiner(kMostGrowth * (packet.size() + rest.size()));
    return joiner.join(in, more) ? joiner.text() : QString();
}

} // namespace vellum::plugin
