// The source text of C, as far as pictures are written in it.
#pragma once

#include "bitmap/bytereader.h"

#include <string>

namespace vellum::plugin {

/// Splits text into words, numbers and single signs; white space and comments are left out.
class CTokens
{
public:
    enum Kind {
        End, ///< of the text, or a word that breaks off there or is too long to be one
        Word, ///< letters, digits and underscores; numbers too
        Quote, ///< the start of a string: what follows is up to the caller
        Sign, ///< any other character
    };

    explicit CTokens(ByteReader &bytes) : m_bytes(bytes) { }

    Kind next();

    const std::string &text() const { return m_text; } ///< Of a word or sign.
    bool isSign(char sign) const { return m_kind == Sign && m_text[0] == sign; }

    /// The value of the last token; -1 when it is no whole number that an int can hold.
    int number() const;

    /// Goes on until behind the quotation mark that starts a string.
    /// \return false when there is no string any more
    [[nodiscard]] bool openString();

    /// The rest of the string whose start was opened. \return false when it does not end or is
    /// longer than \a most bytes
    [[nodiscard]] bool readString(std::string &out, size_t most);

private:
    bool skipComment();
    int take();

    ByteReader &m_bytes;
    std::string m_text;
    Kind m_kind = End;
    int m_ahead = kNone; // a byte that was seen too early

    static constexpr int kNone = -2;
};

} // namespace vellum::plugin
