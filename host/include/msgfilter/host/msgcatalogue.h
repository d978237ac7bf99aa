#pragma once

#include <msgfilter/host/host_export.h>

#include <QString>

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace zefa::pelno {

/// One message the catalogue knows.
struct CatalogueEntry {
    int mid = -1; ///< catalogue number, unique
    std::string component;
    std::string id; ///< unique within its component
    int type = 0; ///< 1 error, 2 warning, 4 info, 8 critical warning
    std::string text; ///< display template, %1 %2 ... for the dynamic arguments
};

/// One postMsg call, as the catalogue received it.
struct PostedMessage {
    std::string key;
    std::vector<std::string> dynamic;
    std::vector<std::string> navigation;
};

/// Something wrong in a catalogue file: the line (1 for the first, 0 for the file as a
/// whole) and why it was skipped.
struct CatalogueProblem {
    int line = 0;
    std::string reason;
};

/// The process-wide message catalogue behind every msgManager handle.
///
/// It keeps entries, the switches that decide what the message view shows, the posted
/// messages, the argument lists of tool messages by number, and a journal of every call
/// made through a handle (one line each, e.g. `postMsg(5012,[a|b],[top.v],0)`).
///
/// A key text names an entry: a decimal number that is a known catalogue number (MID),
/// otherwise an id text (the first entry with that id, in any component). Switches
/// follow the entry, whichever form of key turned them on or asks about them.
///
/// The generic entries common/9990 (error, MID 9990), common/9991 (warning, MID 9991)
/// and common/9992 (info, MID 9992), with the template "%1", are always present. The
/// entries of the catalogue file in the data directory (defaultFilePath()) are added to
/// them when the catalogue is first used and again at every reset(); a missing file
/// means the generic entries only, and so does a malformed one (defaultFileProblems()
/// says which lines are wrong and why). Not thread-safe: use it from the thread that
/// delivers events.
class MSGFILTER_HOST_EXPORT MsgCatalogue {
public:
    static MsgCatalogue& instance();

    /// Adds an entry and returns its new MID (the lowest free number from 5001 up).
    /// An existing component/id pair keeps its MID and takes the new type and text.
    /// Returns -1 for an empty id or a type other than 1, 2, 4 or 8.
    int addEntry(
        const std::string& component, const std::string& id, int type, const std::string& text);

    /// Sets what retrieveMsgDynamicInfo / retrieveMsgNavigationInfo answer for `number`.
    void setMessageInfo(int number, const std::vector<std::string>& dynamic,
        const std::vector<std::string>& navigation);

    const std::vector<PostedMessage>& postedMessages() const;
    const std::vector<std::string>& journal() const;
    void clearJournal();
    /// Long runs that nobody observes (benchmarks, the command-line tool) may turn the
    /// journal off; it starts on, and reset() leaves the setting alone.
    void setJournalEnabled(bool enabled);
    bool journalEnabled() const;

    /// Entries back to the generic ones plus the default file's, every switch on, no
    /// message information, nothing posted, journal empty.
    void reset();

    /// Whether the message view would show this message now: its type is switched on
    /// (an unknown key has no type and only answers to the id switches), its entry is not
    /// switched off, and no argument switch of its entry holds exactly these arguments.
    bool isVisible(const std::string& key, const std::vector<std::string>& dynamic) const;

    /// The entry a key names, or null.
    const CatalogueEntry* findEntry(const std::string& key) const;
    /// All entries in the order they were added.
    const std::vector<CatalogueEntry>& entries() const;
    /// The mask of switched-on types (15 after reset).
    int enabledTypes() const;

    /// Reads catalogue entries from `path` and adds them, all or none: a file with a bad
    /// line, or an unreadable one, changes nothing and returns false. Every bad line, or
    /// the unreadable file, is appended to `problems` when it is not null. Nothing is
    /// printed.
    bool loadFile(const QString& path, std::vector<CatalogueProblem>* problems = nullptr);

    /// The catalogue file of the data directory: BaseSystem::getDataPath()/msgcatalogue.txt.
    static QString defaultFilePath();
    /// What was wrong with the default file at its last load (empty for a missing file).
    const std::vector<CatalogueProblem>& defaultFileProblems() const;

    // The operations behind msgManager, without the journal.
    int mid(const char* component, const char* id) const;
    int typeOf(const char* key, std::string& typeWord, std::string& component) const;
    void setType(const char* key, int type);
    void post(const char* key, const std::vector<std::string>& dynamic,
        const std::vector<std::string>& navigation);
    bool displayString(
        const char* key, const std::vector<std::string>& dynamic, std::string& out) const;
    std::vector<std::string> dynamicInfo(int number) const;
    std::vector<std::string> navigationInfo(int number) const;
    void enableTypes(int mask);
    void disableTypes(int mask);
    void enableId(const char* id);
    void disableId(const char* id);
    void disableIdWithArguments(const char* id, const std::vector<std::string>& args);

    /// Appends one line to the journal; msgManager writes one per call.
    void record(std::string line);

    MsgCatalogue(const MsgCatalogue&) = delete;
    MsgCatalogue& operator=(const MsgCatalogue&) = delete;

private:
    MsgCatalogue();
    ~MsgCatalogue();

    const CatalogueEntry* resolve(const char* key) const;
    bool sameMessage(const std::string& a, const std::string& b) const;
    int addChecked(const CatalogueEntry& entry, std::string* reason);
    void loadDefaults();

    struct MessageInfo {
        std::vector<std::string> dynamic;
        std::vector<std::string> navigation;
    };
    struct ArgumentSwitch {
        std::string key;
        std::vector<std::string> args;
    };

    std::vector<CatalogueEntry> entries_;
    std::map<int, std::size_t> indexByMid_;
    std::map<std::string, std::size_t> firstIndexById_;
    std::map<std::pair<std::string, std::string>, std::size_t> indexByName_;
    std::map<int, MessageInfo> messageInfo_;
    std::vector<PostedMessage> posted_;
    std::vector<std::string> journal_;
    std::vector<std::string> disabledIds_;
    std::vector<ArgumentSwitch> disabledArguments_;
    std::vector<CatalogueProblem> defaultFileProblems_;
    int typeMask_ = 15;
    bool journalEnabled_ = true;
};

/// The handle the library constructs for each use of the catalogue; every handle works on
/// MsgCatalogue::instance() and writes one journal line per call.
class MSGFILTER_HOST_EXPORT msgManager {
public:
    msgManager() = default;

    /// The MID of component/id, -1 when unknown or null.
    int getMsgMID(const char* component, const char* id);
    /// The key's type code, with its word ("Error", "Warning", "Info", "Critical Warning")
    /// in `typeWord` and its component in `second`; 0 and empty texts for an unknown key.
    int queryMsgType(const char* key, std::string& typeWord, std::string& second);
    /// Overrides the type of the key's entry; an unknown key changes nothing.
    void setMsgType(const char* key, int type);
    /// Hands a message to the message view; the catalogue keeps it in postedMessages().
    void postMsg(const char* key, std::vector<std::string>& dynamic,
        std::vector<std::string>& navigation, int flags);
    /// The key's template filled with `dynamic` (missing arguments empty, surplus ones
    /// ignored); false and `out` untouched for an unknown key.
    bool queryMsgDisplayString(
        const char* key, std::vector<std::string>& dynamic, std::string& out);
    /// The lists set for a tool message number; empty for an unknown number.
    void retrieveMsgDynamicInfo(int number, std::vector<std::string>& out);
    void retrieveMsgNavigationInfo(int number, std::vector<std::string>& out);
    /// Switch the types whose bits are set on or off.
    void enableMsgType(int mask);
    void disableMsgType(int mask);
    /// Null: every id and argument switch off again (the type mask stays). An id: that
    /// entry and its argument switches on again.
    void enableMsg(const char* id);
    /// Hides the entry altogether (the int is kept in the journal only).
    void disableMsg(const char* id, int flags);
    /// Hides the entry only where its dynamic arguments equal `args`.
    void disableMsg(const char* id, std::vector<std::string>& args);
};

} // namespace zefa::pelno
