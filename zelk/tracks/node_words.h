// A node compositor's text in pieces: words, texts in quotes, and braces by themselves.
#pragma once

#include <string_view>

namespace zelk {

class NodeWords {
public:
    explicit NodeWords(std::string_view text) : m_rest(text) {}

    /// False after the last one.
    bool next();
    std::string_view word() const { return m_word; }
    int line() const { return m_line; }
    bool isOpening() const { return m_word == "{"; }
    bool isClosing() const { return m_word == "}"; }

private:
    std::size_t quotedLength() const;
    void skipBlanks();

    std::string_view m_rest, m_word;
    int m_line = 1, m_nextLine = 1;
};

}  // namespace zelk
