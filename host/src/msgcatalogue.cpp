#include "common/severity.h"

#include <msgfilter/host/basesystem.h>
#include <msgfilter/host/msgcatalogue.h>

#include <QFile>

#include <algorithm>
#include <cctype>
#include <optional>

namespace zefa::pelno {

namespace {

// The catalogue types its entries with the library's severity type.
using zefa::msg_filter::impl_detail::catalogueWord;
using zefa::msg_filter::impl_detail::genericMessageNumber;
using zefa::msg_filter::impl_detail::kAllSeverityTypes;
using zefa::msg_filter::impl_detail::kCatalogueSeverities;
using zefa::msg_filter::impl_detail::kGenericComponent;
using zefa::msg_filter::impl_detail::Severity;
using zefa::msg_filter::impl_detail::severityOfTypeCode;
using zefa::msg_filter::impl_detail::severityOfWord;
using zefa::msg_filter::impl_detail::typeCode;

constexpr int firstAllocatedMid = 5001;
const char* const catalogueFileName = "msgcatalogue.txt";

// A non-negative decimal number of at most nine digits (so it fits an int), or -1.
int parseNumber(const std::string& text)
{
    if (text.empty() || text.size() > 9 || !std::all_of(text.begin(), text.end(), [](char c) {
            return std::isdigit(static_cast<unsigned char>(c));
        })) {
        return -1;
    }
    return std::stoi(text);
}

std::string trimmed(const std::string& text)
{
    const auto isSpace = [](char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; };
    const auto begin = std::find_if_not(text.begin(), text.end(), isSpace);
    const auto end = std::find_if_not(text.rbegin(), text.rend(), isSpace).base();
    return begin < end ? std::string(begin, end) : std::string();
}

// A type given in a catalogue file: a type word in any case, or its code; 0 when neither.
int parseType(const std::string& text)
{
    if (const std::optional<Severity> severity = severityOfWord(text)) {
        return typeCode(*severity);
    }
    for (Severity severity : kCatalogueSeverities) {
        if (text == std::to_string(typeCode(severity))) {
            return typeCode(severity);
        }
    }
    return 0;
}

// One line of a catalogue file: "component|id|type|mid|template". The template is the rest
// of the line, so it may hold '|' itself; an empty mid asks for a new number.
bool parseLine(const std::string& line, CatalogueEntry& entry, std::string& reason)
{
    std::vector<std::string> fields;
    std::size_t start = 0;
    while (fields.size() < 4) {
        const std::size_t bar = line.find('|', start);
        if (bar == std::string::npos) {
            reason = "expected component|id|type|mid|template";
            return false;
        }
        fields.push_back(trimmed(line.substr(start, bar - start)));
        start = bar + 1;
    }
    entry.component = fields[0];
    entry.id = fields[1];
    entry.text = trimmed(line.substr(start));
    if (entry.id.empty()) {
        reason = "empty id";
        return false;
    }
    entry.type = parseType(fields[2]);
    if (entry.type == 0) {
        reason = "unknown type '" + fields[2] + "'";
        return false;
    }
    entry.mid = -1;
    if (!fields[3].empty()) {
        entry.mid = parseNumber(fields[3]);
        if (entry.mid <= 0) {
            reason = "bad catalogue number '" + fields[3] + "'";
            return false;
        }
    }
    return true;
}

// Each placeholder is '%' and one or two digits (%1 to %99); anything else is literal text.
std::string fillTemplate(const std::string& text, const std::vector<std::string>& arguments)
{
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto isDigit = [&text](std::size_t at) {
            return at < text.size() && std::isdigit(static_cast<unsigned char>(text[at]));
        };
        if (text[i] != '%' || !isDigit(i + 1)) {
            out += text[i];
            continue;
        }
        std::size_t digits = isDigit(i + 2) ? 2 : 1;
        const int number = std::stoi(text.substr(i + 1, digits));
        if (number == 0) {
            out += text[i];
            continue;
        }
        if (static_cast<std::size_t>(number) <= arguments.size()) {
            out += arguments[static_cast<std::size_t>(number) - 1];
        }
        i += digits;
    }
    return out;
}

} // namespace

MsgCatalogue& MsgCatalogue::instance()
{
    // Never destroyed: message records destroyed at exit may still ask it for texts.
    static MsgCatalogue* const catalogue = new MsgCatalogue;
    return *catalogue;
}

MsgCatalogue::MsgCatalogue()
{
    reset();
}

MsgCatalogue::~MsgCatalogue() = default;

void MsgCatalogue::reset()
{
    entries_.clear();
    indexByMid_.clear();
    firstIndexById_.clear();
    indexByName_.clear();
    messageInfo_.clear();
    posted_.clear();
    journal_.clear();
    disabledIds_.clear();
    disabledArguments_.clear();
    typeMask_ = kAllSeverityTypes;
    for (Severity severity : kCatalogueSeverities) {
        const int number = genericMessageNumber(severity);
        if (number != -1) {
            addChecked(
                { number, kGenericComponent, std::to_string(number), typeCode(severity), "%1" },
                nullptr);
        }
    }
    loadDefaults();
}

void MsgCatalogue::loadDefaults()
{
    defaultFileProblems_.clear();
    const QString path = defaultFilePath();
    if (QFile::exists(path)) {
        loadFile(path, &defaultFileProblems_);
    }
}

QString MsgCatalogue::defaultFilePath()
{
    return BaseSystem::getDataPath().filePath(QLatin1String(catalogueFileName));
}

const std::vector<CatalogueProblem>& MsgCatalogue::defaultFileProblems() const
{
    return defaultFileProblems_;
}

int MsgCatalogue::addChecked(const CatalogueEntry& entry, std::string* reason)
{
    const auto name = std::make_pair(entry.component, entry.id);
    const auto existing = indexByName_.find(name);
    if (existing != indexByName_.end()) {
        CatalogueEntry& known = entries_[existing->second];
        if (entry.mid != -1 && entry.mid != known.mid) {
            if (reason != nullptr) {
                *reason = entry.component + "/" + entry.id + " has the catalogue number "
                    + std::to_string(known.mid) + " already";
            }
            return -1;
        }
        known.type = entry.type;
        known.text = entry.text;
        return known.mid;
    }
    int mid = entry.mid;
    if (mid == -1) {
        mid = firstAllocatedMid;
        while (indexByMid_.count(mid) != 0) {
            ++mid;
        }
    } else if (indexByMid_.count(mid) != 0) {
        if (reason != nullptr) {
            const CatalogueEntry& owner = entries_[indexByMid_[mid]];
            *reason = "catalogue number " + std::to_string(mid) + " belongs to " + owner.component
                + "/" + owner.id;
        }
        return -1;
    }
    const std::size_t index = entries_.size();
    entries_.push_back({ mid, entry.component, entry.id, entry.type, entry.text });
    indexByMid_[mid] = index;
    firstIndexById_.emplace(entry.id, index);
    indexByName_[name] = index;
    return mid;
}

int MsgCatalogue::addEntry(
    const std::string& component, const std::string& id, int type, const std::string& text)
{
    if (id.empty() || !severityOfTypeCode(type)) {
        return -1;
    }
    return addChecked({ -1, component, id, type, text }, nullptr);
}

bool MsgCatalogue::loadFile(const QString& path, std::vector<CatalogueProblem>* problems)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        if (problems != nullptr) {
            problems->push_back({ 0, "cannot open: " + file.errorString().toStdString() });
        }
        return false;
    }
    // A file with any bad line adds nothing: the catalogue stays as it was before the
    // load, so a half-read file never shows up as half its entries.
    const std::vector<CatalogueEntry> entriesBefore = entries_;
    const auto byMidBefore = indexByMid_;
    const auto firstByIdBefore = firstIndexById_;
    const auto byNameBefore = indexByName_;
    bool clean = true;
    int lineNumber = 0;
    while (!file.atEnd()) {
        ++lineNumber;
        std::string line = file.readLine().toStdString();
        while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) {
            line.pop_back();
        }
        const std::string content = trimmed(line);
        if (content.empty() || content.front() == '#') {
            continue;
        }
        CatalogueEntry entry;
        std::string reason;
        if (!parseLine(line, entry, reason) || addChecked(entry, &reason) == -1) {
            clean = false;
            if (problems != nullptr) {
                problems->push_back({ lineNumber, reason });
            }
        }
    }
    if (!clean) {
        entries_ = entriesBefore;
        indexByMid_ = byMidBefore;
        firstIndexById_ = firstByIdBefore;
        indexByName_ = byNameBefore;
    }
    return clean;
}

void MsgCatalogue::setMessageInfo(
    int number, const std::vector<std::string>& dynamic, const std::vector<std::string>& navigation)
{
    messageInfo_[number] = { dynamic, navigation };
}

const std::vector<PostedMessage>& MsgCatalogue::postedMessages() const
{
    return posted_;
}

const std::vector<std::string>& MsgCatalogue::journal() const
{
    return journal_;
}

void MsgCatalogue::clearJournal()
{
    journal_.clear();
}

void MsgCatalogue::setJournalEnabled(bool enabled)
{
    journalEnabled_ = enabled;
}

bool MsgCatalogue::journalEnabled() const
{
    return journalEnabled_;
}

void MsgCatalogue::record(std::string line)
{
    if (journalEnabled_) {
        journal_.push_back(std::move(line));
    }
}

const std::vector<CatalogueEntry>& MsgCatalogue::entries() const
{
    return entries_;
}

int MsgCatalogue::enabledTypes() const
{
    return typeMask_;
}

const CatalogueEntry* MsgCatalogue::resolve(const char* key) const
{
    if (key == nullptr) {
        return nullptr;
    }
    const std::string text(key);
    const int number = parseNumber(text);
    if (number >= 0) {
        const auto byMid = indexByMid_.find(number);
        if (byMid != indexByMid_.end()) {
            return &entries_[byMid->second];
        }
    }
    const auto byId = firstIndexById_.find(text);
    return byId == firstIndexById_.end() ? nullptr : &entries_[byId->second];
}

const CatalogueEntry* MsgCatalogue::findEntry(const std::string& key) const
{
    return resolve(key.c_str());
}

// Two keys name the same message when they resolve to the same entry; keys the catalogue
// does not know are compared as texts.
bool MsgCatalogue::sameMessage(const std::string& a, const std::string& b) const
{
    const CatalogueEntry* first = resolve(a.c_str());
    const CatalogueEntry* second = resolve(b.c_str());
    if (first != nullptr || second != nullptr) {
        return first == second;
    }
    return a == b;
}

bool MsgCatalogue::isVisible(const std::string& key, const std::vector<std::string>& dynamic) const
{
    const CatalogueEntry* entry = findEntry(key);
    if (entry != nullptr && (entry->type & typeMask_) == 0) {
        return false;
    }
    for (const std::string& disabled : disabledIds_) {
        if (sameMessage(key, disabled)) {
            return false;
        }
    }
    for (const ArgumentSwitch& disabled : disabledArguments_) {
        if (disabled.args == dynamic && sameMessage(key, disabled.key)) {
            return false;
        }
    }
    return true;
}

int MsgCatalogue::mid(const char* component, const char* id) const
{
    if (component == nullptr || id == nullptr) {
        return -1;
    }
    const auto found = indexByName_.find(std::make_pair(std::string(component), std::string(id)));
    return found == indexByName_.end() ? -1 : entries_[found->second].mid;
}

int MsgCatalogue::typeOf(const char* key, std::string& word, std::string& component) const
{
    const CatalogueEntry* entry = resolve(key);
    if (entry == nullptr) {
        word.clear();
        component.clear();
        return 0;
    }
    const std::optional<Severity> severity = severityOfTypeCode(entry->type);
    word = severity ? catalogueWord(*severity) : "";
    component = entry->component;
    return entry->type;
}

void MsgCatalogue::setType(const char* key, int type)
{
    if (const CatalogueEntry* entry = resolve(key)) {
        entries_[indexByMid_.at(entry->mid)].type = type;
    }
}

void MsgCatalogue::post(const char* key, const std::vector<std::string>& dynamic,
    const std::vector<std::string>& navigation)
{
    posted_.push_back({ key != nullptr ? std::string(key) : std::string(), dynamic, navigation });
}

bool MsgCatalogue::displayString(
    const char* key, const std::vector<std::string>& dynamic, std::string& out) const
{
    const CatalogueEntry* entry = resolve(key);
    if (entry == nullptr) {
        return false;
    }
    out = fillTemplate(entry->text, dynamic);
    return true;
}

std::vector<std::string> MsgCatalogue::dynamicInfo(int number) const
{
    const auto found = messageInfo_.find(number);
    return found == messageInfo_.end() ? std::vector<std::string>() : found->second.dynamic;
}

std::vector<std::string> MsgCatalogue::navigationInfo(int number) const
{
    const auto found = messageInfo_.find(number);
    return found == messageInfo_.end() ? std::vector<std::string>() : found->second.navigation;
}

void MsgCatalogue::enableTypes(int mask)
{
    typeMask_ |= mask;
}

void MsgCatalogue::disableTypes(int mask)
{
    typeMask_ &= ~mask;
}

void MsgCatalogue::enableId(const char* id)
{
    if (id == nullptr) {
        disabledIds_.clear();
        disabledArguments_.clear();
        return;
    }
    const std::string key(id);
    disabledIds_.erase(std::remove_if(disabledIds_.begin(), disabledIds_.end(),
                           [&](const std::string& d) { return sameMessage(key, d); }),
        disabledIds_.end());
    disabledArguments_.erase(std::remove_if(disabledArguments_.begin(), disabledArguments_.end(),
                                 [&](const ArgumentSwitch& d) { return sameMessage(key, d.key); }),
        disabledArguments_.end());
}

void MsgCatalogue::disableId(const char* id)
{
    if (id != nullptr) {
        disabledIds_.emplace_back(id);
    }
}

void MsgCatalogue::disableIdWithArguments(const char* id, const std::vector<std::string>& args)
{
    if (id != nullptr) {
        disabledArguments_.push_back({ id, args });
    }
}

} // namespace zefa::pelno
