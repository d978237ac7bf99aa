#include "sessiontextreport.h"

#include "ansicolor.h"
#include "displaytext.h"
#include "severity.h"

#include <msgfilter/msgfilter.h>

#include <QTextStream>

#include <algorithm>

namespace zefa::msg_filter::tool {

void writeSessionText(QTextStream& out, const SessionReport& report, bool color)
{
    int idWidth = 4;
    for (const SessionProcess& process : report) {
        for (const SessionEntry& entry : process.entries) {
            if (entry.node != nullptr && entry.visible) {
                idWidth = std::max(idWidth, static_cast<int>(entry.node->getMessageID().size()));
            }
        }
    }

    QString implementation;
    for (const SessionProcess& process : report) {
        if (process.implementation != implementation) {
            implementation = process.implementation;
            out << implementation << '\n';
        }
        out << "  " << process.process << '\n';
        for (const SessionEntry& entry : process.entries) {
            if (entry.node == nullptr) {
                out << "    " << QString(8 + 1 + idWidth + 2, QLatin1Char(' '))
                    << visibleText(entry.plain) << '\n';
            } else if (entry.visible) {
                const QString severityWord = entry.node->getMessageSeverity();
                Severity severity = Severity::None;
                parseSeverity(severityWord, severity);
                out << "    " << colored(severityWord.leftJustified(8), severity, color) << ' '
                    << entry.node->getMessageID().leftJustified(idWidth) << "  "
                    << visibleText(messageText(entry.node)) << '\n';
            }
        }
    }

    out << '\n' << "Summary";
    const int nameWidth = 24;
    out << QString(nameWidth - 7, QLatin1Char(' '))
        << QStringLiteral("  Error Warning   Info  Other  Plain Hidden\n");
    auto row = [&out](const QString& name, const SessionCounts& counts) {
        out << name.leftJustified(nameWidth) << QStringLiteral("%1").arg(counts.error, 7)
            << QStringLiteral("%1").arg(counts.warning, 8)
            << QStringLiteral("%1").arg(counts.info, 7) << QStringLiteral("%1").arg(counts.other, 7)
            << QStringLiteral("%1").arg(counts.plain, 7)
            << QStringLiteral("%1").arg(counts.hidden, 7) << '\n';
    };
    SessionCounts total;
    for (const SessionProcess& process : report) {
        const SessionCounts counts = SessionCounts::of(process);
        total.add(counts);
        row(process.implementation + QStringLiteral(" / ") + process.process, counts);
    }
    row(QStringLiteral("total"), total);
    out.flush();
}

} // namespace zefa::msg_filter::tool
