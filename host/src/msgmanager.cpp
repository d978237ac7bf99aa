#include <msgfilter/host/msgcatalogue.h>

#include <string>
#include <vector>

namespace zefa::pelno {

namespace {

// Journal lines: the operation, then its input arguments in parentheses, separated by
// commas with no blanks; a null text is "null", a list is "[a|b]". Output arguments are
// left out, so a line says what the caller asked, not what it got.
std::string format(const char* text)
{
    return text == nullptr ? std::string("null") : std::string(text);
}

std::string format(int number)
{
    return std::to_string(number);
}

std::string format(const std::vector<std::string>& list)
{
    std::string out = "[";
    for (std::size_t i = 0; i < list.size(); ++i) {
        if (i != 0) {
            out += '|';
        }
        out += list[i];
    }
    out += ']';
    return out;
}

template <class... Arguments> void record(const char* operation, const Arguments&... arguments)
{
    // A long run with the journal off pays for nothing of it, the formatting included.
    if (!MsgCatalogue::instance().journalEnabled()) {
        return;
    }
    std::string line(operation);
    line += '(';
    bool first = true;
    ((line += (first ? "" : ","), line += format(arguments), first = false), ...);
    line += ')';
    MsgCatalogue::instance().record(std::move(line));
}

} // namespace

int msgManager::getMsgMID(const char* component, const char* id)
{
    record("getMsgMID", component, id);
    return MsgCatalogue::instance().mid(component, id);
}

int msgManager::queryMsgType(const char* key, std::string& typeWord, std::string& second)
{
    record("queryMsgType", key);
    return MsgCatalogue::instance().typeOf(key, typeWord, second);
}

void msgManager::setMsgType(const char* key, int type)
{
    record("setMsgType", key, type);
    MsgCatalogue::instance().setType(key, type);
}

void msgManager::postMsg(const char* key, std::vector<std::string>& dynamic,
    std::vector<std::string>& navigation, int flags)
{
    record("postMsg", key, dynamic, navigation, flags);
    MsgCatalogue::instance().post(key, dynamic, navigation);
}

bool msgManager::queryMsgDisplayString(
    const char* key, std::vector<std::string>& dynamic, std::string& out)
{
    record("queryMsgDisplayString", key, dynamic);
    return MsgCatalogue::instance().displayString(key, dynamic, out);
}

void msgManager::retrieveMsgDynamicInfo(int number, std::vector<std::string>& out)
{
    record("retrieveMsgDynamicInfo", number);
    out = MsgCatalogue::instance().dynamicInfo(number);
}

void msgManager::retrieveMsgNavigationInfo(int number, std::vector<std::string>& out)
{
    record("retrieveMsgNavigationInfo", number);
    out = MsgCatalogue::instance().navigationInfo(number);
}

void msgManager::enableMsgType(int mask)
{
    record("enableMsgType", mask);
    MsgCatalogue::instance().enableTypes(mask);
}

void msgManager::disableMsgType(int mask)
{
    record("disableMsgType", mask);
    MsgCatalogue::instance().disableTypes(mask);
}

void msgManager::enableMsg(const char* id)
{
    record("enableMsg", id);
    MsgCatalogue::instance().enableId(id);
}

void msgManager::disableMsg(const char* id, int flags)
{
    record("disableMsg", id, flags);
    MsgCatalogue::instance().disableId(id);
}

void msgManager::disableMsg(const char* id, std::vector<std::string>& args)
{
    record("disableMsg", id, args);
    MsgCatalogue::instance().disableIdWithArguments(id, args);
}

} // namespace zefa::pelno
