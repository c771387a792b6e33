// Where a piece ends; see node_words.h.
#include "zelk/tracks/node_words.h"

#include <algorithm>

namespace zelk {

bool NodeWords::next() {
    skipBlanks();
    if (m_rest.empty()) return false;
    std::size_t count = 1;
    if (m_rest[0] == '"')
        count = quotedLength();
    else if (m_rest[0] != '{' && m_rest[0] != '}')
        count = std::min(m_rest.find_first_of(" \t\r\n{}"), m_rest.size());
    m_word = m_rest.substr(0, count);
    m_line = m_nextLine;
    m_nextLine += static_cast<int>(std::count(m_word.begin(), m_word.end(), '\n'));
    m_rest.remove_prefix(count);
    return true;
}

/// To the quote that no backslash stands before, which counts to the text's end without one.
std::size_t NodeWords::quotedLength() const {
    std::size_t end = 1;
    while (end < m_rest.size() && m_rest[end] != '"') end += m_rest[end] == '\\' ? 2 : 1;
    return std::min(end + 1, m_rest.size());
}

void NodeWords::skipBlanks() {
    auto const count = std::min(m_rest.find_first_not_of(" \t\r\n"), m_rest.size());
    auto const blanks = m_rest.substr(0, count);
    m_nextLine += static_cast<int>(std::count(blanks.begin(), blanks.end(), '\n'));
    m_rest.remove_prefix(count);
}

}  // namespace zelk
