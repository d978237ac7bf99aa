// The word-to-event publisher: each category's record gets its own fields, a message
// keeps its text whole, and the bus's answer comes back.

#include "hostevents.h"

#include <msgfilter/host/host.h>

#include <memory>
#include <vector>

#include <gtest/gtest.h>

using namespace zefa::pelno;
using zefa::msg_filter::tool::publishHostEvent;

namespace {

// Writes every event of its category as "category|action|implementation|fields".
class Recorder : public PelnoEventListonerAbstract {
public:
    explicit Recorder(const char* category)
        : m_context { category, "recorder", 0, "", "", 0 }
    {
        RegisterEventListoner(&m_context, this);
    }
    bool canHandleEvent(PELNO_EVENT_OBJ*, unsigned int) override { return true; }
    long notify(PELNO_EVENT_OBJ* event, long*) override
    {
        const PELNO_EVENT_HEADER& header = event->header;
        last = header.category + '|' + header.action + '|' + header.implementation;
        if (header.category == "task") {
            last += '|' + std::to_string(static_cast<PELNO_TASK_EVENT_OBJ*>(event)->status_code);
        } else if (header.category == "process") {
            const auto* process = static_cast<PELNO_PROCESS_EVENT_OBJ*>(event);
            last += '|' + process->milestone + '|' + process->task;
        } else if (header.category == "engine") {
            const auto* engine = static_cast<PELNO_ENGINE_EVENT_OBJ*>(event);
            last += '|' + engine->task + '|' + engine->engine;
        } else if (header.category == "Message") {
            const auto* message = static_cast<PELNO_MESSAGE_EVENT_OBJ*>(event);
            last += '|' + std::to_string(message->message_kind) + '|' + message->message;
        }
        return 42;
    }

    std::string last;

private:
    const PELNO_EVENT_LISTONER_CONTEXT m_context;
};

struct EventRow {
    const char* name;
    std::string line;
    std::string recorded;
};

// Names the row in test listings instead of dumping its bytes.
void PrintTo(const EventRow& row, std::ostream* out)
{
    *out << row.name;
}

class PublishHostEvent : public testing::TestWithParam<EventRow> { };

TEST_P(PublishHostEvent, BuildsTheCategorysRecordFromTheWords)
{
    std::vector<std::unique_ptr<Recorder>> recorders;
    for (const char* category : { "task", "process", "engine", "Message", "project" }) {
        recorders.push_back(std::make_unique<Recorder>(category));
    }
    const EventRow& row = GetParam();
    EXPECT_EQ(publishHostEvent(row.line), 42);
    std::string recorded;
    for (const auto& recorder : recorders) {
        recorded += recorder->last;
    }
    EXPECT_EQ(recorded, row.recorded);
}

INSTANTIATE_TEST_SUITE_P(Rows, PublishHostEvent,
    testing::Values(
        EventRow { "task_with_status", "task finished impl_1 3", "task|finished|impl_1|3" },
        EventRow { "task_without_status", "task started impl_1", "task|started|impl_1|0" },
        EventRow { "process_milestone_and_task", "process started impl_1 Synthesis Synthesize",
            "process|started|impl_1|Synthesis|Synthesize" },
        EventRow { "engine_task_and_name", "engine finished impl_1 Synthesize synth",
            "engine|finished|impl_1|Synthesize|synth" },
        EventRow { "message_keeps_blanks_and_line_feeds",
            "Message output impl_1 6 WARNING: a  b\nnext\n",
            "Message|output|impl_1|6|WARNING: a  b\nnext\n" },
        EventRow { "project_is_a_bare_event", "project loaded", "project|loaded|" }),
    [](const testing::TestParamInfo<EventRow>& info) { return std::string(info.param.name); });

TEST(PublishHostEvent, NobodyListeningGivesZero)
{
    EXPECT_EQ(publishHostEvent("implement", "started", "impl_1"), 0);
}

} // namespace
