// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "corpus/CorpusRun.h"

#include <QString>

#include <vector>

/// The counts by question and ending, then the files that crashed a decoder, met a deadline or showed a
/// fault, then the slowest answers. Text for a terminal.
QString corpusTable(const std::vector<CorpusAnswer>& answers);
