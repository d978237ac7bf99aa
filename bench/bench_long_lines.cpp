// Time per line for lines far longer than any an engine prints on purpose: the default
// rules against one long line (a tagged message and an untagged one), and a user pattern
// with a nested repetition, "(a*)*b", against lines of "a" with no "b", where a
// backtracking matcher tries every way of splitting the line before it gives up
// (MSGFILTER_REGEX_ENGINE=reference measures that one).

#include <msgfilter/zefamsgparserengin.h>

#include <QFile>
#include <QTemporaryDir>

#include <cstdlib>
#include <memory>
#include <string>

#include <benchmark/benchmark.h>

namespace {

using namespace zefa::msg_filter::impl_detail;

// One engine "default" with the rules of `xml`, loaded from a file as the library does.
struct Rules {
    std::unique_ptr<ZefaMsgParserEngin> engine = std::make_unique<ZefaMsgParserEngin>();
    ZefaEnginMsgParser* parser = nullptr;

    explicit Rules(const std::string& path)
    {
        if (!engine->loadFilterRulesFromFile(path) || engine->getTarget("fpga") == nullptr)
            std::abort();
        parser = engine->getTarget("fpga")->getEngine("default");
    }
};

Rules& defaultRules()
{
    static Rules rules(MSGFILTER_SOURCE_DATA_DIR "/enginemsg.xml");
    return rules;
}

Rules& nestedRepetition()
{
    static const QTemporaryDir directory;
    static Rules rules([] {
        const QString path = directory.filePath(QStringLiteral("enginemsg.xml"));
        QFile file(path);
        const QByteArray xml =
            R"(<ZefaMsgFilterDef><TargetDevice name="fpga"><Engine name="default">
  <Rule name="user"/></Engine></TargetDevice>
  <FilterRule name="user" type="message" reg_patten="(a*)*b"/></ZefaMsgFilterDef>)";
        if (!file.open(QIODevice::WriteOnly) || file.write(xml) != xml.size())
            std::abort();
        return path.toStdString();
    }());
    return rules;
}

// The best rule and its sub-rule for one line, as the engine side classifies a line.
void classify(Rules& rules, const std::string& line)
{
    ZefaMsgParserRule* rule = FindBestMatchRule(rules.engine.get(), rules.parser, line);
    std::string type;
    std::string id;
    std::vector<std::pair<std::string, std::string>> fields;
    if (rule != nullptr)
        rule->matchSubRule(line, type, id, fields);
    benchmark::DoNotOptimize(fields);
}

void run(benchmark::State& state, Rules& rules, const std::string& line)
{
    for (auto _ : state)
        classify(rules, line);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * line.size());
}

void BM_DefaultRules_TaggedLine(benchmark::State& state)
{
    run(state, defaultRules(),
        "WARNING: [Synth 8-327] " + std::string(static_cast<std::size_t>(state.range(0)), 'x'));
}

void BM_DefaultRules_UntaggedLine(benchmark::State& state)
{
    run(state, defaultRules(), std::string(static_cast<std::size_t>(state.range(0)), 'x'));
}

void BM_NestedRepetition_NoMatch(benchmark::State& state)
{
    run(state, nestedRepetition(), std::string(static_cast<std::size_t>(state.range(0)), 'a'));
}

} // namespace

BENCHMARK(BM_DefaultRules_TaggedLine)
    ->RangeMultiplier(16)
    ->Range(1 << 10, 1 << 20)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DefaultRules_UntaggedLine)
    ->RangeMultiplier(16)
    ->Range(1 << 10, 1 << 20)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_NestedRepetition_NoMatch)
    ->RangeMultiplier(4)
    ->Range(1 << 10, 1 << 20)
    ->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
