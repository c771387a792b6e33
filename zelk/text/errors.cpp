// Messages of one line; see errors.h for their form.
#include "zelk/text/errors.h"

namespace zelk {

namespace {

std::string sentence(Complaint const& complaint) {
    std::string text = complaint.thing + ": " + complaint.wrong;
    if (!complaint.value.empty())
        text += " \"" + complaint.value + "\"";
    else if (text.ends_with(',') || text.ends_with(':'))
        text.pop_back();  // what led over to the value
    if (!complaint.expected.empty()) text += ", expected " + complaint.expected;
    return oneLine(text);
}

}  // namespace

UserError::UserError(ExitCode code, Complaint const& complaint)
    : std::runtime_error(sentence(complaint)), m_code(code) {}

UserError::UserError(ExitCode code, std::string_view sentence)
    : std::runtime_error(oneLine(sentence)), m_code(code) {}

UserError missing(std::string const& thing, std::string const& what) {
    return {ExitCode::kUsage, thing + " is missing: give " + what};
}

std::string oneLine(std::string_view text) {
    std::string line;
    for (char c : text) {
        bool const isControl = static_cast<unsigned char>(c) < 0x20 || c == 0x7f;
        line += isControl ? ' ' : c;
    }
    auto const first = line.find_first_not_of(' ');
    if (first == std::string::npos) return {};
    return line.substr(first, line.find_last_not_of(' ') - first + 1);
}

std::string shortened(std::string_view text) {
    constexpr std::size_t kMost = 160;
    if (text.size() <= kMost) return std::string(text);
    return std::string(text.substr(0, kMost)) + "...";
}

std::string listOf(std::span<std::string_view const> words) {
    std::string list;
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (i > 0) list += i + 1 == words.size() ? " or " : ", ";
        list += words[i];
    }
    return list;
}

}  // namespace zelk
