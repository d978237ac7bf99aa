// A client of the installed package: classifies two lines with the shipped rules. Built
// with MSGFILTER_CONSUMER_USES_HOST it also checks that the host substitute finds the
// installed data; without it the program needs nothing but libmsgfilter, whose own run
// path must then lead the loader to the host library. Exits non-zero on failure.
#include <msgfilter/msgfilter.h>

#ifdef MSGFILTER_CONSUMER_USES_HOST
#include <msgfilter/host/host.h>

#include <QDir>
#endif

#include <cstdio>

int main(int argc, char** argv)
{
#ifdef MSGFILTER_CONSUMER_USES_HOST
    if (argc != 2) {
        std::fprintf(stderr, "usage: consumer EXPECTED_DATA_DIR\n");
        return 2;
    }
    const QString dataPath = zefa::pelno::BaseSystem::getDataPath().canonicalPath();
    if (dataPath != QDir(QString::fromLocal8Bit(argv[1])).canonicalPath()) {
        std::fprintf(stderr, "data path is %s\n", qPrintable(dataPath));
        return 1;
    }
    zefa::pelno::msgManager catalogue;
    if (catalogue.getMsgMID("common", "9990") < 0) {
        std::fprintf(stderr, "generic catalogue entry missing\n");
        return 1;
    }
#else
    (void)argc;
    (void)argv;
#endif

    zefa::msg_filter::ZefaMsgFilter filter("fpga");
    filter.startEngin("default");
    filter.filterMessage("warning: clock net has no driver\nplain text\n");
    filter.endFilter();
    const auto& results = filter.getResults();
    if (results.size() != 2 || results[0].rule.empty() || !results[1].rule.empty()) {
        std::fprintf(stderr, "unexpected classification (%zu results)\n", results.size());
        return 1;
    }
    std::printf("classified as %s\n", results[0].type.c_str());
    return 0;
}
