// The default rules in process: they must give the same answer whether a line comes
// with its line feed (the stand-alone filter) or without it (the engine side), and the
// structured format must decode through both of the library's decoders.

#include "engine/enginemessagehandler.h"
#include "toolrunner.h"

#include <msgfilter/msgfilter.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace toolrunner;
using zefa::msg_filter::ZefaMsgFilter;
using namespace zefa::msg_filter::impl_detail;
using testing::StartsWith;

namespace {

using FieldList = std::vector<std::pair<std::string, std::string>>;

// What the rules make of a line: rule, whether a sub-rule matched (not where), its type
// and id, and the fields; those go to `fields` too when asked for.
std::string classify(const std::string& line, FieldList* fields = nullptr)
{
    // Before the first use: the engine reads its file once, from here.
    qputenv("ZEFA_DATA_PATH", MSGFILTER_SOURCE_DATA_DIR);
    ZefaMsgParserEngin* rules = ZefaMsgParserEngin::getMsgParserEngin();
    auto* target = rules->getTarget("fpga");
    EXPECT_NE(target, nullptr);
    ZefaMsgParserRule* rule =
        target ? FindBestMatchRule(rules, target->getEngine("default"), line) : nullptr;
    if (rule == nullptr) {
        return "no rule";
    }
    std::string type, id;
    FieldList found;
    std::string text = rule->getName()
        + (rule->matchSubRule(line, type, id, found) >= 0 ? " matched " : " unmatched ") + type
        + " / " + id;
    for (const auto& [name, value] : found) {
        text += " " + name + "=" + value;
    }
    if (fields != nullptr) {
        *fields = found;
    }
    return text;
}

TEST(DefaultRules, SameAnswerWithAndWithoutTheLineFeed)
{
    // Of the corpus, the logs written with carriage returns: there the two copies differ.
    QStringList withCarriageReturns;
    for (const QString& log : corpusLogs()) {
        if (readAll(log).contains('\r')) {
            withCarriageReturns.append(log);
        }
    }
    EXPECT_FALSE(withCarriageReturns.isEmpty());
    long long compared = 0;
    for (const QString& log : logs(true) + withCarriageReturns + logs(false)) {
        SCOPED_TRACE(log.toStdString());
        int mismatches = 0;
        const std::vector<QByteArray> lines = splitLines(readAll(log));
        for (size_t index = 0; index < lines.size(); ++index, ++compared) {
            // The filter keeps a carriage return, the engine side drops every one.
            const std::string filter = classify(lines[index].toStdString() + '\n');
            const std::string engine =
                classify(QByteArray(lines[index]).replace('\r', "").toStdString());
            if (filter != engine && ++mismatches <= 5) {
                ADD_FAILURE() << "line " << index + 1 << "\n  with line feed: " << filter
                              << "\n  without:        " << engine;
            }
        }
        EXPECT_EQ(mismatches, 0);
    }
    EXPECT_GT(compared, 100);
}

TEST(DefaultRules, StructuredFormatDecodesThroughBothDecoders)
{
    // A line, its type, and "id;dynamic arguments;navigation arguments" ('|'-joined) from
    // the stand-alone decoder and, when it differs, from the engine side's, which undoes
    // the XML escaping of the values too.
    const std::tuple<const char*, const char*, const char*, const char*> rows[] = {
        { R"(<msg id="PAR-1201" type="Warning" dynamic="2" navigation="1" arg1="clk" arg2="12.5" arg3="top.v"/>)",
            "Warning", "PAR-1201;clk|12.5;top.v", nullptr },
        { R"(   <msg  id="SYN-7"   type="Error" dynamic="1"  navigation="1"  arg1="q_reg"  arg2="a.v" />)",
            "Error", "SYN-7;q_reg;a.v", nullptr },
        { R"(<msg id="TIM-1" type="Info" dynamic="0" navigation="0"/>)", "Info", "TIM-1;;",
            nullptr },
        { R"(<msg id="X-2" type="Info" dynamic="1" navigation="0" arg1="a" arg2="b"/>)", "Info",
            "X-2;a;", nullptr },
        { R"(<msg id="Synth 8-327" type="Warning" dynamic="1" navigation="0" arg1="q"/>)",
            "Warning", "Synth 8-327;q;", nullptr },
        { R"(<msg id="E-1" type="Error" dynamic="2" navigation="0" arg1="a&amp;lt;b" arg2="&quot;q&quot;"/>)",
            "Error", "E-1;a&amp;lt;b|&quot;q&quot;;", "E-1;a<b|\"q\";" },
    };
    for (const auto& [line, type, expected, handlerExpected] : rows) {
        SCOPED_TRACE(line);
        // The stand-alone filter: the line with its line feed.
        ZefaMsgFilter filter("fpga");
        filter.startEngin("default");
        filter.filterMessage((std::string(line) + '\n').c_str());
        ASSERT_EQ(filter.getResults().size(), 1u);
        const ZefaMsgFilter::ParsResult& result = filter.getResults().front();
        ASSERT_TRUE(result.isNewMessage) << result.rule << " " << result.type;
        std::string id;
        std::vector<std::string> dynamic, navigation;
        ZefaMsgFilter::parseNewMessage(result.fields, id, dynamic, navigation);
        QStringList joined[2];
        for (int i = 0; i < 2; ++i) {
            for (const std::string& value : i == 0 ? dynamic : navigation) {
                joined[i] << QString::fromStdString(value);
            }
        }
        EXPECT_EQ(id + ';' + joined[0].join(u'|').toStdString() + ';'
                + joined[1].join(u'|').toStdString(),
            expected);

        // The engine side sees the line without its line feed.
        FieldList fields;
        ASSERT_THAT(classify(line, &fields), StartsWith("new-message matched "));
        EXPECT_EQ(fields, result.fields);
        QString handlerId, handlerType;
        QStringList handlerDynamic, handlerNavigation;
        EngineMessageHandler::parseNewMessage(
            fields, handlerId, handlerType, handlerDynamic, handlerNavigation);
        EXPECT_EQ(handlerType.toStdString(), type);
        EXPECT_EQ(
            QStringList({ handlerId, handlerDynamic.join(u'|'), handlerNavigation.join(u'|') })
                .join(u';')
                .toStdString(),
            handlerExpected ? handlerExpected : expected);
    }
}

} // namespace

// One row per form of message and per place its location can take, from real logs:
// the rule and the sub-rule's severity that read the line, and what they cut out. An
// empty expectation means the field is absent or empty.
TEST(DefaultRules, EachFormCutsOutIdFileLineColumnAndText)
{
    struct Row {
        const char* name;
        const char* line;
        const char* rule;
        const char* type;
        const char* id;
        const char* file;
        const char* lineNumber;
        const char* column;
        const char* text;
    };
    const Row rows[] = {
        { "bracket tag, bracketed location",
            "WARNING: [Synth 8-327] inferring latch for variable 'q' [C:/My Work/top.v:41]",
            "bracket-tag-message", "warning", "Synth 8-327", "C:/My Work/top.v", "41", "",
            "inferring latch for variable 'q'" },
        { "bracket tag, location with column in parentheses",
            "ERROR: [HLS 207-3776] use of undeclared identifier 'g' (src/lstm.cpp:15:38)",
            "bracket-tag-message", "error", "HLS 207-3776", "src/lstm.cpp", "15", "38",
            "use of undeclared identifier 'g'" },
        { "bracket tag, location before a full stop",
            "WARNING: [ANALYSIS 214-52] Found false inter dependency for 'L' (canny.cpp:307).",
            "bracket-tag-message", "warning", "ANALYSIS 214-52", "canny.cpp", "307", "",
            "Found false inter dependency for 'L'" },
        { "bracket tag, critical warning without location",
            "CRITICAL WARNING: [Common 17-69] Command failed: 'AB1' is not a valid site",
            "bracket-tag-message", "critical-warning", "Common 17-69", "", "", "",
            "Command failed: 'AB1' is not a valid site" },
        { "number in parentheses, location as File: Line:",
            "    Warning (10036): object \"c\" assigned a value but never read File: C:/q/alu.vhd "
            "Line: 89",
            "numbered-message", "warning", "10036", "C:/q/alu.vhd", "89", "",
            "object \"c\" assigned a value but never read" },
        { "number in parentheses without blank", "Info(16678): Successfully loaded final database",
            "numbered-message", "info", "16678", "", "", "", "Successfully loaded final database" },
        { "extra info with number", "Extra Info (176218): Packed 8 registers into blocks",
            "numbered-message", "info", "176218", "", "", "", "Packed 8 registers into blocks" },
        { "code in parentheses, quoted location glued to the text",
            "WARN  (EX3791) : Expression size 17 truncated to fit in target size "
            "16(\"E:\\Dev\\src\\synth top.v\":56)",
            "numbered-message", "warning", "EX3791", "E:\\Dev\\src\\synth top.v", "56", "",
            "Expression size 17 truncated to fit in target size 16" },
        { "note with code in parentheses", "NOTE  (EX0101) : Current top module is \"top\"",
            "numbered-message", "info", "EX0101", "", "", "", "Current top module is \"top\"" },
        { "colon code with quoted file and Line",
            "ERROR:HDLCompiler:806 - \"C:\\src\\top.v\" Line 12: Syntax error near \"endmodule\".",
            "colon-code-message", "error", "HDLCompiler:806", "C:\\src\\top.v", "12", "",
            "Syntax error near \"endmodule\"." },
        { "colon code with lower-case line",
            "WARNING:Xst:905 - \"initial_Perm.v\" line 35: One or more signals are missing",
            "colon-code-message", "warning", "Xst:905", "initial_Perm.v", "35", "",
            "One or more signals are missing" },
        { "colon code without number",
            "ERROR:ProjectMgmt - 1 error(s) found while parsing design hierarchy.",
            "colon-code-message", "error", "ProjectMgmt", "", "", "",
            "1 error(s) found while parsing design hierarchy." },
        { "severity in the tag, location first",
            "[EFX-0010 VERI-ERROR] (K:/1_V\\New folder\\top.v:2) syntax error near ';' (VERI-1137)",
            "severity-tag-message", "error", "EFX-0010", "K:/1_V\\New folder\\top.v", "2", "",
            "syntax error near ';' (VERI-1137)" },
        { "severity in the tag, location last",
            "[EFX-0011 VERI-WARNING] latch inferred for net 'n' (VERI-2580) "
            "(C:/Users\\s\\frame.v:88)",
            "severity-tag-message", "warning", "EFX-0011", "C:/Users\\s\\frame.v", "88", "",
            "latch inferred for net 'n' (VERI-2580)" },
        { "severity in the tag, no location", "[EFX-0000 INFO] Efinity Synthesis",
            "severity-tag-message", "info", "EFX-0000", "", "", "", "Efinity Synthesis" },
        { "at-sign with code and quoted location",
            "@W: CL169 :\"C:\\src\\my top.vhd\":69:8:69:9|Pruning unused register q",
            "at-sign-message", "warning", "CL169", "C:\\src\\my top.vhd", "69", "8",
            "Pruning unused register q" },
        { "at-sign with code and bar", "@N: MF248 |Running in 64-bit mode.", "at-sign-message",
            "info", "MF248", "", "", "", "Running in 64-bit mode." },
        { "at-sign with code, colon and bar", "@N: CD140 :\t| Using the VHDL 2008 Standard",
            "at-sign-message", "info", "CD140", "", "", "", "Using the VHDL 2008 Standard" },
        { "at-sign with bar only", "@N|stack limit increased to max", "at-sign-message", "info", "",
            "", "", "", "stack limit increased to max" },
        { "at-sign with location and no code",
            "@N:\"/src/top_level.vhd\":23:7:23:15|Top entity is set to top_level.",
            "at-sign-message", "info", "", "/src/top_level.vhd", "23", "7",
            "Top entity is set to top_level." },
        { "at-sign with bracketed tag", "@E [HLS-70] Compilation errors found", "at-sign-message",
            "error", "HLS-70", "", "", "", "Compilation errors found" },
        { "at-sign with plain text stays a keyword message", "@W: net 'din' has no load",
            "keyword-message", "warning", "", "", "", "", "net 'din' has no load" },
        { "double asterisk, code then location",
            "# ** Warning: (vsim-3015) C:/p/sc_datamem.v(20): [PCDPC] - Port size (32) does not "
            "match",
            "asterisk-message", "warning", "vsim-3015", "C:/p/sc_datamem.v", "20", "",
            "[PCDPC] - Port size (32) does not match" },
        { "double asterisk, location then code",
            "** Error: /src/top.vhd(12): (vcom-1136) Unknown identifier \"x\".", "asterisk-message",
            "error", "vcom-1136", "/src/top.vhd", "12", "", "Unknown identifier \"x\"." },
        { "double asterisk, qualified error",
            "# ** Error (suppressible): (vsim-12110) All optimizations are disabled",
            "asterisk-message", "error", "vsim-12110", "", "", "",
            "All optimizations are disabled" },
        { "double asterisk, fatal", "# ** Fatal: (SIGSEGV) Bad pointer access.", "asterisk-message",
            "error", "SIGSEGV", "", "", "", "Bad pointer access." },
        { "double asterisk, note without code", "# ** Note: $finish    : tb.v(45)",
            "asterisk-message", "info", "", "", "", "", "$finish    : tb.v(45)" },
        { "verification report with location",
            "# UVM_ERROR /src/tb/sb.sv(45) @ 1000: uvm_test_top.env.sb [SCB] mismatch on 0x10",
            "uvm-report-message", "error", "SCB", "/src/tb/sb.sv", "45", "", "mismatch on 0x10" },
        { "verification report without location",
            "UVM_INFO @ 0: reporter [RNTST] Running test base_test...", "uvm-report-message",
            "info", "RNTST", "", "", "", "Running test base_test..." },
        { "percent tag with code and location",
            "%Warning-WIDTH: rtl/top.v:12:5: Operator ASSIGN expects 8 bits", "percent-message",
            "warning", "WIDTH", "rtl/top.v", "12", "5", "Operator ASSIGN expects 8 bits" },
        { "percent tag without code", "%Error: Exiting due to 3 error(s)", "percent-message",
            "error", "", "", "", "", "Exiting due to 3 error(s)" },
        { "location, severity without blank", "src/top.vhd:12:5:error: 'x' is not declared",
            "file-line-message", "error", "", "src/top.vhd", "12", "5", "'x' is not declared" },
        { "location, fatal error", "src/top.cpp:3:10: fatal error: 'ap_int.h' file not found",
            "file-line-message", "error", "", "src/top.cpp", "3", "10",
            "'ap_int.h' file not found" },
        { "location on a drive with blanks", "C:\\My Designs\\top.v:12:5: warning: implicit net",
            "file-line-message", "warning", "", "C:\\My Designs\\top.v", "12", "5",
            "implicit net" },
        { "simulation assertion report", "tb.vhd:47:5:@5ns:(assertion error): Reached end of test",
            "file-line-message", "error", "", "tb.vhd", "47", "5", "Reached end of test" },
        { "simulation note report", "e.vhdl:15:9:@0ms:(report note): exp: -1.5",
            "file-line-message", "info", "", "e.vhdl", "15", "9", "exp: -1.5" },
        { "program before its own severity", "ghdl:error: compilation error",
            "program-prefix-message", "error", "ghdl", "", "", "", "compilation error" },
        { "abbreviation before a lower-case severity",
            "VCD info: dumpfile tb.vcd opened for output.", "program-prefix-message", "info", "VCD",
            "", "", "", "dumpfile tb.vcd opened for output." },
        { "helper program before a severity", "ABC: Warning: The network is combinational.",
            "program-prefix-message", "warning", "ABC", "", "", "",
            "The network is combinational." },
        { "keyword in a transcript", "# ERROR: cannot read ./source/sc_instmem.mif.",
            "keyword-message", "error", "", "", "", "", "cannot read ./source/sc_instmem.mif." },
        { "fatal keyword", "FATAL_ERROR: Simulator kernel has discovered an exceptional condition",
            "keyword-message", "error", "", "", "", "",
            "Simulator kernel has discovered an exceptional condition" },
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        FieldList fields;
        const std::string answer = classify(row.line, &fields);
        EXPECT_THAT(answer, StartsWith(std::string(row.rule) + " matched " + row.type + " / "))
            << answer;
        // The stand-alone filter's copy of the line ends in a line feed.
        EXPECT_EQ(classify(std::string(row.line) + '\n'), answer);
        const auto field = [&fields](const char* name) {
            for (const auto& [fieldName, value] : fields) {
                if (fieldName == name) {
                    return value;
                }
            }
            return std::string();
        };
        EXPECT_EQ(field("id"), row.id);
        EXPECT_EQ(field("file"), row.file);
        EXPECT_EQ(field("line"), row.lineNumber);
        EXPECT_EQ(field("column"), row.column);
        EXPECT_EQ(field("text"), row.text);
    }
}

// Lines that carry no severity tag of their own: summaries, continuations, table rows,
// section heads. No rule may take them.
TEST(DefaultRules, UntaggedLinesStayPlain)
{
    const std::pair<const char*, const char*> rows[] = {
        { "summary, errors first", "0 errors, 2 warnings" },
        { "summary, warnings first", "1 warning, 0 errors" },
        { "summary with a colon after the word", "Errors: 0" },
        { "transcript summary", "# Errors: 0, Warnings: 1" },
        { "verification report count", "# UVM_ERROR :    0" },
        { "check summary", "DRC detected 0 errors" },
        { "run summary", "Synthesis finished with 0 errors, 0 critical warnings and 2 warnings." },
        { "count table row", "Number of errors   :    0 (   0 filtered)" },
        { "report table row", "; Warning ; 3 ; Critical Warning ; 0 ;" },
        { "continuation with time", "#    Time: 0 ps  Iteration: 0  Instance: /tb/uut" },
        { "continuation note of a linter",
            "                          : ... note: In instance 'top'" },
        { "explanatory note", "Note: The table above is a preliminary report." },
        { "section head", "@S |Clock Optimization Summary" },
        { "word that merely starts with a severity", "Error-correcting code enabled" },
        { "elaboration count", "1 error(s) during elaboration." },
        { "signal name", "  assign error_flag = rx_error;" },
    };
    for (const auto& [name, line] : rows) {
        SCOPED_TRACE(name);
        EXPECT_EQ(classify(line), "no rule");
    }
}
