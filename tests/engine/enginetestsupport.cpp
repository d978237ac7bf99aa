#include "enginetestsupport.h"

#include <QtGlobal>

namespace enginetest {

namespace {

QStringList& captured()
{
    static QStringList lines;
    return lines;
}

void captureDebug(QtMsgType type, const QMessageLogContext&, const QString& text)
{
    if (type == QtDebugMsg) {
        captured().append(text);
    }
}

QtMessageHandler previousHandler = nullptr;

} // namespace

void publishTask(const std::string& action, const std::string& implementation, int status)
{
    zefa::pelno::PELNO_TASK_EVENT_OBJ event;
    event.header = { "task", action, implementation };
    event.status_code = status;
    zefa::pelno::PublishEvent(&event);
}

void publishProcess(const std::string& action, const std::string& implementation,
    const std::string& milestone, const std::string& task)
{
    zefa::pelno::PELNO_PROCESS_EVENT_OBJ event;
    event.header = { "process", action, implementation };
    event.milestone = milestone;
    event.task = task;
    zefa::pelno::PublishEvent(&event);
}

void publishEngine(const std::string& action, const std::string& implementation,
    const std::string& task, const std::string& engine)
{
    zefa::pelno::PELNO_ENGINE_EVENT_OBJ event;
    event.header = { "engine", action, implementation };
    event.task = task;
    event.engine = engine;
    zefa::pelno::PublishEvent(&event);
}

void publishProject(const std::string& action, const std::string& implementation)
{
    zefa::pelno::PELNO_EVENT_OBJ event;
    event.header = { "project", action, implementation };
    zefa::pelno::PublishEvent(&event);
}

void publishImplement(const std::string& action, const std::string& implementation)
{
    zefa::pelno::PELNO_EVENT_OBJ event;
    event.header = { "implement", action, implementation };
    zefa::pelno::PublishEvent(&event);
}

void publishOutput(const std::string& implementation, const std::string& text, int kind)
{
    zefa::pelno::PELNO_MESSAGE_EVENT_OBJ event;
    event.header = { "Message", "output", implementation };
    event.message_kind = kind;
    event.message = text;
    zefa::pelno::PublishEvent(&event);
}

DebugCapture::DebugCapture()
{
    captured().clear();
    previousHandler = qInstallMessageHandler(captureDebug);
}

DebugCapture::~DebugCapture()
{
    qInstallMessageHandler(previousHandler);
    captured().clear();
}

QStringList DebugCapture::lines() const
{
    return captured();
}

void DebugCapture::clear()
{
    captured().clear();
}

} // namespace enginetest
