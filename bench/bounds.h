// Bounds for the parse: the simplest passes that any parse of the same bytes
// must at least make, timed over the same documents. They say how far from
// the memory's speed a stage is.
#pragma once

#include <memory>
#include <vector>

#include "corpus.h"
#include "measure.h"

namespace Parsers::Bench {

// memchr from one '<' to the next, over every byte.
std::unique_ptr<Workload> makeLessThanScanWorkload(const std::vector<CorpusDocument>& documents);
// A check that the bytes are well-formed UTF-8.
std::unique_ptr<Workload> makeUtf8ValidationWorkload(const std::vector<CorpusDocument>& documents);
// A plain decoder from UTF-8 to UTF-16 into a buffer of the right size, one
// code point at a time, without checks.
std::unique_ptr<Workload> makeNaiveUtf16Workload(const std::vector<CorpusDocument>& documents);

}  // namespace Parsers::Bench
