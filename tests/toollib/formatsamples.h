#pragma once

#include "classification.h"
#include "formats/sourceuri.h"

#include <QByteArray>
#include <QString>

#include <vector>

// Messages as classify produces them from two small logs, chosen to reach every branch
// of the report writers: a bracket tag with and without a source place, a line without
// an id, a located error with a column, characters the formats must escape, a Windows
// path with a blank, one id in two inputs.
namespace formatsamples {

using zefa::msg_filter::tool::ClassifiedLine;

std::vector<ClassifiedLine> messages();
/// The same messages marked as a run against a baseline, with one waived.
std::vector<ClassifiedLine> reviewedMessages();
/// Paths as a CI job at /work/ci with that folder as source root resolves them.
zefa::msg_filter::tool::SourceUri ciPaths();

QString fixture(const char* relative);
QByteArray readFixture(const char* relative);

} // namespace formatsamples
