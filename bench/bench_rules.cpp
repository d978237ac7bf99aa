// Best-rule search over a 20-rule engine of FPGA tool messages three ways: the engine's
// own (all rules screened in one automaton pass, only candidates measured), the walk over
// every rule on QRegExp with each pattern compiled once and the line converted per rule
// (the engine before the automaton), and the same walk compiling every pattern per call.

#include "common/latin1.h"
#include "common/regexpattern.h"

#include <msgfilter/zefamsgparserengin.h>

#include <QFile>
#include <QTemporaryDir>

#include <cstdlib>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

namespace {

using namespace zefa::msg_filter::impl_detail;

// Twenty rules of the kinds the default rules carry: tagged messages of synthesis and
// place-and-route tools, numbered messages, file:line messages and the structured format.
const QByteArray kRules = R"xml(<ZefaMsgFilterDef>
  <TargetDevice name="fpga"><Engine name="default">
    <Rule name="new-message"/><Rule name="old-error"/><Rule name="old-warning"/>
    <Rule name="tagged-error"/><Rule name="tagged-critical"/><Rule name="tagged-warning"/>
    <Rule name="tagged-info"/><Rule name="numbered-error"/><Rule name="numbered-critical"/>
    <Rule name="numbered-warning"/><Rule name="numbered-info"/><Rule name="plain-error"/>
    <Rule name="plain-warning"/><Rule name="plain-info"/><Rule name="file-line-warning"/>
    <Rule name="file-line-error"/><Rule name="indented-warning"/><Rule name="indented-info"/>
    <Rule name="at-warning"/><Rule name="at-error"/>
  </Engine></TargetDevice>
  <FilterRule name="new-message" type="NewMessage" reg_patten="^@msg ">
    <SubRule type="Msg" reg_patten="^@msg id=(\S+) dynamic=(\d+) navigation=(\d+) args=([^\n]*)" fields="id, dynamic, navigation, args"/>
  </FilterRule>
  <FilterRule name="old-error" type="Error" reg_patten="^error: [^\n]*"/>
  <FilterRule name="old-warning" type="Warning" reg_patten="^warning: [^\n]*"/>
  <FilterRule name="tagged-error" type="Error" reg_patten="^ERROR: \[[^\]]+\][^\n]*">
    <SubRule type="Tagged" reg_patten="^ERROR: \[(\w+ \d+-\d+)\] ([^\n]*)\[(\S+):(\d+)\]" fields="tag, text, file, line"/>
    <SubRule type="Tag" reg_patten="^ERROR: \[(\w+ \d+-\d+)\] ([^\n]*)" fields="tag, text"/>
  </FilterRule>
  <FilterRule name="tagged-critical" type="Error" reg_patten="^CRITICAL WARNING: \[[^\]]+\][^\n]*">
    <SubRule type="Tag" reg_patten="\[(\w+ \d+-\d+)\] ([^\n]*)" fields="tag, text"/>
  </FilterRule>
  <FilterRule name="tagged-warning" type="Warning" reg_patten="^WARNING: \[[^\]]+\][^\n]*">
    <SubRule type="Tagged" reg_patten="\[(\w+ \d+-\d+)\] ([^\n]*)\[(\S+):(\d+)\]" fields="tag, text, file, line"/>
    <SubRule type="Tag" reg_patten="\[(\w+ \d+-\d+)\] ([^\n]*)" fields="tag, text"/>
  </FilterRule>
  <FilterRule name="tagged-info" type="Info" reg_patten="^INFO: \[[^\]]+\][^\n]*">
    <SubRule type="Tag" reg_patten="\[(\w+ \d+-\d+)\] ([^\n]*)" fields="tag, text"/>
  </FilterRule>
  <FilterRule name="numbered-error" type="Error" reg_patten="^Error \(\d+\): [^\n]*"/>
  <FilterRule name="numbered-critical" type="Error" reg_patten="^Critical Warning \(\d+\): [^\n]*"/>
  <FilterRule name="numbered-warning" type="Warning" reg_patten="^Warning \(\d+\): [^\n]*">
    <SubRule type="Numbered" reg_patten="^Warning \((\d+)\): ([^\n]*)" fields="number, text"/>
  </FilterRule>
  <FilterRule name="numbered-info" type="Info" reg_patten="^\s*Info \(\d+\): [^\n]*">
    <SubRule type="Numbered" reg_patten="Info \((\d+)\): ([^\n]*)" fields="number, text"/>
  </FilterRule>
  <FilterRule name="plain-error" type="Error" reg_patten="^ERROR: [^\n]*"/>
  <FilterRule name="plain-warning" type="Warning" reg_patten="^Warning: [^\n]*"/>
  <FilterRule name="plain-info" type="Info" reg_patten="^Info: [^\n]*"/>
  <FilterRule name="file-line-warning" type="Warning" reg_patten="^\S+:\d+: [Ww]arning: [^\n]*">
    <SubRule type="FileLine" reg_patten="^(\S+):(\d+): [Ww]arning: ([^\n]*)" fields="file, line, text"/>
  </FilterRule>
  <FilterRule name="file-line-error" type="Error" reg_patten="^\S+:\d+: ERROR: [^\n]*"/>
  <FilterRule name="indented-warning" type="Warning" reg_patten="^\s+Warning \(\d+\): [^\n]*"/>
  <FilterRule name="indented-info" type="Info" reg_patten="^\s+Info: [^\n]*"/>
  <FilterRule name="at-warning" type="Warning" reg_patten="^@[Ww]\s*[-:][^\n]*"/>
  <FilterRule name="at-error" type="Error" reg_patten="^@[Ee]\s*[-:][^\n]*"/>
</ZefaMsgFilterDef>
)xml";

// A mix like a synthesis and place-and-route log: mostly untagged lines, some messages.
const std::vector<std::string> kLines {
    "INFO: [Synth 8-6157] synthesizing module 'top' [/home/u/src/top.v:23]\n",
    "WARNING: [Synth 8-327] inferring latch for variable 'q_reg' [/home/u/src/ctl.v:88]\n",
    "CRITICAL WARNING: [Constraints 18-1056] Clock 'clk' not found\n",
    "Info (12021): Found 1 design units, including 1 entities, in source file top.v\n",
    "Warning (10230): Verilog HDL assignment warning at ctl.v(41): truncated value\n",
    "+-------------------------+------+-------+-----------+-------+\n",
    "|      Site Type          | Used | Fixed | Available | Util% |\n",
    "Info: Routing globals...\n",
    "top.v:12: Warning: Identifier `x' is implicitly declared.\n",
    "   Number of cells:                 1234\n",
    "Phase 1.1 Placer Initialization Netlist Sorting | Checksum: 1a2b3c4d\n",
    "@msg id=MF-12 dynamic=1 navigation=0 args=net=\"clk\"\n",
};

struct Fixture {
    std::unique_ptr<ZefaMsgParserEngin> engine = std::make_unique<ZefaMsgParserEngin>();
    ZefaEnginMsgParser* parser = nullptr;

    Fixture()
    {
        QTemporaryDir directory;
        const QString path = directory.filePath(QStringLiteral("enginemsg.xml"));
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(kRules) != kRules.size()) {
            std::abort();
        }
        file.close();
        if (!engine->loadFilterRulesFromFile(path.toStdString())
            || engine->getRules().size() != 20) {
            std::abort();
        }
        parser = engine->getTarget("fpga")->getEngine("default");
    }
};

Fixture& fixture()
{
    static Fixture instance;
    return instance;
}

RegexPattern referencePattern(const ZefaMsgParserRule& rule)
{
    return RegexPattern(fromLatin1(rule.getRegPatten()), RegexPattern::Case::Sensitive,
        RegexPattern::Engine::Reference);
}

// The walk over every rule on QRegExp; `patternOf` gives each rule's pattern.
template <typename PatternOf>
const ZefaMsgParserRule* findBestOnQRegExp(ZefaMsgParserEngin* engine, ZefaEnginMsgParser* parser,
    const std::string& line, PatternOf patternOf)
{
    const ZefaMsgParserRule* best = nullptr;
    int bestLength = -1;
    for (const std::string& name : parser->getRuleNames()) {
        const ZefaMsgParserRule* rule = engine->getRule(name);
        if (rule == nullptr) {
            continue;
        }
        const int length =
            patternOf(*rule).search(fromLatin1(line), 0, RegexPattern::Captures::Skip).length;
        if (length > bestLength) {
            bestLength = length;
            best = rule;
        }
    }
    return best;
}

void BM_FindBestMatchRule_CachedQRegExp(benchmark::State& state)
{
    Fixture& f = fixture();
    std::map<const ZefaMsgParserRule*, RegexPattern> compiled;
    for (const auto& [name, rule] : f.engine->getRules()) {
        compiled.emplace(&rule, referencePattern(rule));
    }
    const auto cached = [&compiled](const ZefaMsgParserRule& rule) -> const RegexPattern& {
        return compiled.at(&rule);
    };
    std::size_t index = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            findBestOnQRegExp(f.engine.get(), f.parser, kLines[index++ % kLines.size()], cached));
    }
    state.SetItemsProcessed(state.iterations());
}

void BM_FindBestMatchRule_Cached(benchmark::State& state)
{
    Fixture& f = fixture();
    std::size_t index = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            FindBestMatchRule(f.engine.get(), f.parser, kLines[index++ % kLines.size()]));
    }
    state.SetItemsProcessed(state.iterations());
}

void BM_FindBestMatchRule_CompilePerCall(benchmark::State& state)
{
    Fixture& f = fixture();
    std::size_t index = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(findBestOnQRegExp(
            f.engine.get(), f.parser, kLines[index++ % kLines.size()], referencePattern));
    }
    state.SetItemsProcessed(state.iterations());
}

// A whole line as a client classifies it: best rule, then its sub-rules.
void BM_ClassifyLine_Cached(benchmark::State& state)
{
    Fixture& f = fixture();
    std::size_t index = 0;
    for (auto _ : state) {
        const std::string& line = kLines[index++ % kLines.size()];
        const ZefaMsgParserRule* rule = FindBestMatchRule(f.engine.get(), f.parser, line);
        if (rule != nullptr) {
            std::string type;
            std::string id;
            std::vector<std::pair<std::string, std::string>> fields;
            benchmark::DoNotOptimize(rule->matchSubRule(line, type, id, fields));
        }
    }
    state.SetItemsProcessed(state.iterations());
}

BENCHMARK(BM_FindBestMatchRule_Cached)->ThreadRange(1, 2)->UseRealTime();
BENCHMARK(BM_FindBestMatchRule_CachedQRegExp)->ThreadRange(1, 2)->UseRealTime();
BENCHMARK(BM_FindBestMatchRule_CompilePerCall)->ThreadRange(1, 2)->UseRealTime();
BENCHMARK(BM_ClassifyLine_Cached);

} // namespace

BENCHMARK_MAIN();
