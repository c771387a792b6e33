#include "tests/openfx/property_set.h"

#include <algorithm>
#include <fstream>
#include <sstream>
#include <type_traits>

namespace zelk_ofx {

namespace {

// "1,4" as the values of a property; one value stands for all dimensions.
Property propertyOf(char type, char dimension, std::string const& access, bool must,
                    std::string const& text) {
    Property p{.dimension = dimension == 'n' ? 0 : dimension - '0', .required = must};
    if (access != "ro") p.access = access == "d" ? Access::kDescriptor : Access::kBoth;
    std::vector<std::string> words;
    std::istringstream in(text == "-" ? "" : text);
    for (std::string word; std::getline(in, word, ',');) words.push_back(word);
    if (words.empty()) words.push_back(type == 'S' ? "" : "0");
    words.resize(p.dimension ? p.dimension : text == "-" ? 0 : words.size(), words.front());
    std::vector<double> numbers;
    if (type != 'S')
        for (auto const& word : words) numbers.push_back(std::stod(word));
    if (type == 'S') p.values = words;
    if (type == 'P') p.values = std::vector<void*>(words.size());
    if (type == 'D') p.values = numbers;
    if (type == 'I') p.values = std::vector<int>(numbers.begin(), numbers.end());
    return p;
}

struct Interface {
    std::map<std::string, Properties> tables;
    std::map<std::string, std::set<OfxStatus>> answers;
};

Interface readInterface() {
    Interface all;
    std::ifstream file(ZELK_OFX_INTERFACE);
    for (std::string line; std::getline(file, line);) {
        std::istringstream in(line);
        std::string table, type, access, must, initial, word;
        if (!(in >> table >> type) || table[0] == '#') continue;
        Properties& rows = all.tables[table];
        if (table == "answers")
            while (in >> word) all.answers[type].insert(std::stoi(word));
        else if (type == "=")
            while (in >> word) rows.insert(all.tables[word].begin(), all.tables[word].end());
        else
            for (in >> access >> must >> initial; in >> word;)
                rows[word] = propertyOf(type[0], type[1], access, must == "y", initial);
    }
    if (all.answers.empty()) throw std::runtime_error("can't read " ZELK_OFX_INTERFACE);
    return all;
}
Interface const& interfaceText() {
    static Interface const all = readInterface();
    return all;
}

// How C spells a T, as an argument and as what a getter fills.
template <class T>
using In = std::conditional_t<std::is_same_v<T, std::string>, char const*, T>;
template <class T>
using Out = std::conditional_t<std::is_same_v<T, std::string>, char*, T>;

// The call's own checks: the handle, the name, and that the property's values are T.
template <class T>
OfxStatus find(char const* function, OfxPropertySetHandle set, char const* name, Property*& found,
               std::vector<T>*& values) {
    if (OfxStatus const status = enterCall(function, name)) return status;
    if (!set || set->magic != set->kMagic || set->released || !name) return kOfxStatErrBadHandle;
    auto const at = set->properties.find(name);
    bool const known = at != set->properties.end();
    values = known ? std::get_if<std::vector<T>>(&at->second.values) : nullptr;
    found = values ? &at->second : nullptr;
    if (found) return kOfxStatOK;
    // What not every host has is asked for in good faith of one that lacks it.
    auto const& table = propertyTable(set->table);
    auto const row = table.find(name);
    if (known || row == table.end() || row->second.required)
        noteMiss(set->table + " " + name + (known ? ": another type" : ": unknown"));
    return kOfxStatErrUnknown;
}

template <class T>
OfxStatus write(OfxPropertySetHandle set, char const* name, int first, int count,
                In<T> const* from) {
    Property* property = nullptr;
    std::vector<T>* values = nullptr;
    if (OfxStatus const status = find("propSet", set, name, property, values)) return status;
    if (property->access == Access::kReadOnly) {
        noteMiss(set->table + " " + name + ": read-only");
        return kOfxStatErrValue;
    }
    int const size = static_cast<int>(values->size()), end = first + count;
    if (property->dimension == 0 && first <= size && end > size) values->resize(end);
    if (first < 0 || end > static_cast<int>(values->size())) return kOfxStatErrBadIndex;
    std::copy(from, from + count, values->begin() + first);
    property->written = true;
    return kOfxStatOK;
}
template <class T>
OfxStatus setOne(OfxPropertySetHandle set, char const* name, int index, In<T> value) {
    return write<T>(set, name, index, 1, &value);
}
template <class T>
OfxStatus setMany(OfxPropertySetHandle set, char const* name, int count, In<T> const* values) {
    return write<T>(set, name, 0, count, values);
}

template <class T>
OfxStatus getOne(OfxPropertySetHandle set, char const* name, int index, Out<T>* to) {
    Property* property = nullptr;
    std::vector<T>* values = nullptr;
    if (OfxStatus const status = find("propGet", set, name, property, values)) return status;
    // A host without a suggestion has the property, and answers so.
    if (values->empty() && std::string_view(name) == "OfxInteractPropSuggestedColour")
        return kOfxStatReplyDefault;
    if (index < 0 || index >= static_cast<int>(values->size())) return kOfxStatErrBadIndex;
    if constexpr (std::is_same_v<T, std::string>)
        *to = lend((*values)[index]);
    else
        *to = (*values)[index];
    return kOfxStatOK;
}
template <class T>
OfxStatus getMany(OfxPropertySetHandle set, char const* name, int count, Out<T>* to) {
    for (int i = 0; i < count; ++i)
        if (OfxStatus const status = getOne<T>(set, name, i, to + i)) return status;
    return kOfxStatOK;
}
OfxStatus reset(OfxPropertySetHandle, char const*) { return kOfxStatErrUnsupported; }
OfxStatus dimension(OfxPropertySetHandle set, char const* name, int* count) {
    auto const at = set->properties.find(name);
    if (at == set->properties.end()) return kOfxStatErrUnknown;
    std::visit([&](auto const& v) { *count = static_cast<int>(v.size()); }, at->second.values);
    return kOfxStatOK;
}

}  // namespace

OfxPropertySuiteV1 const kPropertySuite = {setOne<void*>,   setOne<std::string>,
                                           setOne<double>,  setOne<int>,
                                           setMany<void*>,  setMany<std::string>,
                                           setMany<double>, setMany<int>,
                                           getOne<void*>,   getOne<std::string>,
                                           getOne<double>,  getOne<int>,
                                           getMany<void*>,  getMany<std::string>,
                                           getMany<double>, getMany<int>,
                                           reset,           dimension};

Properties const& propertyTable(std::string const& name) { return interfaceText().tables.at(name); }
std::set<OfxStatus> const& answersOf(std::string const& action) {
    static std::set<OfxStatus> const unknown = {kOfxStatReplyDefault};
    auto const at = interfaceText().answers.find(action);
    return at == interfaceText().answers.end() ? unknown : at->second;
}

}  // namespace zelk_ofx

OfxPropertySetStruct::OfxPropertySetStruct(std::string tableName, bool withOptional)
    : table(std::move(tableName)), properties(zelk_ofx::propertyTable(table)) {
    if (!withOptional) std::erase_if(properties, [](auto const& p) { return !p.second.required; });
}

std::vector<double> OfxPropertySetStruct::numbers(std::string_view name) const {
    auto const at = properties.find(name);
    if (at == properties.end()) return {};
    if (auto const* list = std::get_if<std::vector<double>>(&at->second.values)) return *list;
    auto const* list = std::get_if<std::vector<int>>(&at->second.values);
    return list ? std::vector<double>(list->begin(), list->end()) : std::vector<double>();
}
