#include "bitmap/ctokens.h"

#include <cctype>
#include <charconv>

namespace vellum::plugin {

namespace {

bool isWordPart(int c) { return c == '_' || (c >= 0 && c < 128 && std::isalnum(c)); }
bool isSpace(int c) { return c >= 0 && c < 128 && std::isspace(c); }

} // namespace

int CTokens::take()
{
    const int c = m_ahead == kNone ? m_bytes.next() : m_ahead;
    m_ahead = kNone;
    return c;
}

/// Behind its opening. \return false when it does not end
bool CTokens::skipComment()
{
    for (int c = take(), last = 0;; last = c, c = take()) {
        if (c == ByteReader::kEnd)
            return false;
        if (last == '*' && c == '/')
            return true;
    }
}

CTokens::Kind CTokens::next()
{
    constexpr size_t kLongestWord = 1024;
    m_text.clear();
    m_kind = End;
    int c = take();
    while (isSpace(c) || c == '/') {
        if (c == '/') {
            m_ahead = take();
            if (m_ahead != '*')
                break;
            take();
            if (!skipComment())
                return End;
        }
        c = take();
    }
    if (c == ByteReader::kEnd)
        return End;
    if (!isWordPart(c)) {
        m_text = char(c);
        return m_kind = c == '"' ? Quote : Sign;
    }
    for (; isWordPart(c); c = take()) {
        if (m_text.size() == kLongestWord)
            return End;
        m_text += char(c);
    }
    m_ahead = c;
    return m_kind = c == ByteReader::kEnd ? End : Word; // no text of C ends so: it breaks off
}

int CTokens::number() const
{
    const bool isHex = m_text.size() > 2 && m_text[0] == '0' && (m_text[1] | 0x20) == 'x';
    const bool isOctal = !isHex && m_text.size() > 1 && m_text[0] == '0';
    const char *const first = m_text.data() + (isHex ? 2 : 0);
    const char *const last = m_text.data() + m_text.size();
    int value = 0;
    const auto [end, error] = std::from_chars(first, last, value, isHex ? 16 : isOctal ? 8 : 10);
    return first != last && end == last && error == std::errc() ? value : -1;
}

bool CTokens::openString()
{
    Kind kind = next();
    while (kind == Word || kind == Sign)
        kind = next();
    return kind == Quote;
}

bool CTokens::readString(std::string &out, size_t most)
{
    out.clear();
    for (int c = take(); c != '"'; c = take()) {
        if (c == ByteReader::kEnd || out.size() == most)
            return false;
        out += char(c);
    }
    return true;
}

} // namespace vellum::plugin
