// Writes a synthetic tool log for timing msgfilter classify: every message format the
// default rules know, mixed with the untagged lines that make up most of a real log
// (progress, tables, command echoes), about one line in six a message. The output is
// the same for the same line count.
//
//     generate_tool_log 1000000 > big.log

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

// A small fixed generator, so that every run writes the same file.
std::uint32_t nextRandom(std::uint32_t& state)
{
    state = state * 1664525u + 1013904223u;
    return state >> 8;
}

const char* const kMessages[] = {
    "INFO: [Synth 8-6157] synthesizing module 'uart_rx' [/src/rtl/uart_rx.v:%u]",
    "WARNING: [Synth 8-327] inferring latch for variable 'state_reg' [/src/rtl/fsm.v:%u]",
    "CRITICAL WARNING: [Constraints 18-602] 'clk_%u' is not a valid startpoint.",
    "ERROR: [Synth 8-439] module 'fifo_%u' not found [/src/rtl/top.v:41]",
    "Info (12021): Found %u design units, including 1 entities, in source file top.v",
    "    Warning (10230): truncated value with size 32 to match size of target (%u) File: "
    "/src/top.v Line: 14",
    "Critical Warning (332148): Timing requirements not met by %u ps",
    "/src/rtl/mdio.v:%u: Warning: limited support for tri-state logic.",
    "Warning: Replacing memory \\mem_%u with list of registers. See /src/rtl/ram.v:33",
    "Info: Max frequency for clock 'clk': %u.00 MHz (PASS at 12.00 MHz)",
    "OPT: Warning: The network %u is combinational.",
    "@W - unused parameter WIDTH_%u",
    "<msg id=\"PAR-%u\" type=\"Warning\" dynamic=\"1\" navigation=\"1\" arg1=\"clk\" "
    "arg2=\"top.v\"/>",
};

const char* const kOtherLines[] = {
    "Creating register for signal `\\top.\\error_flag_%u' using process `\\top.$proc$top.v:21'.",
    "; sprite_x[%u..0] ; Input ; Info     ; Stuck at GND                          ;",
    "Phase %u.1 Placer Initialization | Checksum: 1a2b3c4d",
    "  Set init value: \\count_q = 8'%u",
    "| Name       | Errors | Warnings | %u |",
    "   Number of cells:              %u",
    "synth_design -top top -part demo-35t-%u",
    "%u warnings, 0 errors",
    "Time (s): cpu = 00:00:%u ; elapsed = 00:00:01 . Memory (MB): peak = 2100",
};

} // namespace

int main(int argc, char* argv[])
{
    const long lines = argc > 1 ? std::strtol(argv[1], nullptr, 10) : 1000000;
    if (lines <= 0) {
        std::fprintf(stderr, "usage: generate_tool_log [LINES]\n");
        return 2;
    }
    std::uint32_t state = 20260303u;
    constexpr auto kMessageCount = sizeof(kMessages) / sizeof(kMessages[0]);
    constexpr auto kOtherCount = sizeof(kOtherLines) / sizeof(kOtherLines[0]);
    char line[512];
    for (long i = 0; i < lines; ++i) {
        const std::uint32_t pick = nextRandom(state);
        const unsigned value = nextRandom(state) % 1000u;
        const char* format = pick % 6 == 0 ? kMessages[(pick / 6) % kMessageCount]
                                           : kOtherLines[(pick / 6) % kOtherCount];
        std::snprintf(line, sizeof line, format, value);
        std::fputs(line, stdout);
        std::fputc('\n', stdout);
    }
    return 0;
}
