#include "hostevents.h"

#include <msgfilter/host/host.h>

#include <cstdlib>
#include <sstream>

namespace zefa::msg_filter::tool {

long publishHostEvent(const std::string& category, const std::string& action,
    const std::string& implementation, const std::string& first, const std::string& rest)
{
    using namespace zefa::pelno;
    const PELNO_EVENT_HEADER header { category, action, implementation };
    if (category == "task") {
        PELNO_TASK_EVENT_OBJ task { { header }, std::atoi(first.c_str()) };
        return PublishEvent(&task);
    }
    if (category == "process") {
        PELNO_PROCESS_EVENT_OBJ process { { header }, first, rest };
        return PublishEvent(&process);
    }
    if (category == "engine") {
        PELNO_ENGINE_EVENT_OBJ engine { { header }, first, rest };
        return PublishEvent(&engine);
    }
    if (category == "Message") {
        PELNO_MESSAGE_EVENT_OBJ message { { header }, std::atoi(first.c_str()), rest };
        return PublishEvent(&message);
    }
    PELNO_EVENT_OBJ plain { header };
    return PublishEvent(&plain);
}

long publishHostEvent(const std::string& line)
{
    std::istringstream in(line);
    std::string category, action, implementation, first, rest;
    in >> category >> action >> implementation >> first;
    std::getline(in.ignore(1), rest, '\0');
    return publishHostEvent(category, action, implementation, first, rest);
}

} // namespace zefa::msg_filter::tool
