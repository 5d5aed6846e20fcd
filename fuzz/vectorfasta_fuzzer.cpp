// Vector files as the report command reads them: any bytes either parse into named
// records of upper-case base letters or fail with one message, and every record found
// is searched against a fixed read on both strands with rows that line up.
//
// The reader belongs to the command-line program; its one source file is compiled in
// here, so that the fuzzer needs nothing else of the program.
#include "FuzzSupport.h"
#include "tools/zevutil/VectorSearch.cpp"

namespace {

const std::string& Read() {
  static const std::string read =
      "GATTACAGGCTTAACGTCCATGGAATTCGCTAGCAGTCAAGCTTGGACTGACCTAGTTACGGATCCGATCGATTTAGC"
      "ACGTTGCANNGGTACCATGGCATGCAAGCTTGAATTCGAGCTCGGTACCCGGGGATCCTCTAGAGTCGACCTGCAGG";
  return read;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > 8192) return 0;  // the search is quadratic; the reader is what is fuzzed
  const std::string text(reinterpret_cast<const char*>(data), size);
  std::vector<zevcli::VectorRecord> records;
  try {
    records = zevcli::ParseFasta(text, "v.fasta");
  } catch (const zevcli::CommandError& e) {
    zevfuzz::Check(std::string(e.what()).rfind("'v.fasta'", 0) == 0);
    return 0;
  }
  zevfuzz::Check(!records.empty());
  zevcli::VectorSearchOptions options;
  options.minScore = 12;
  for (const zevcli::VectorRecord& r : records) {
    zevfuzz::Check(!r.name.empty() && !r.letters.empty());
    for (char c : r.letters) zevfuzz::Check(zevcli::IubBits(c) != 0 && !(c >= 'a' && c <= 'z'));
    if (r.letters.size() > 2000) continue;
    for (const zevcli::VectorHit& h : zevcli::FindVectorHits(Read(), r, options)) {
      zevfuzz::Check(h.readRow.size() == h.otherRow.size() && h.marks.size() == h.readRow.size());
      zevfuzz::Check(h.readBegin >= 0 && h.readEnd < long(Read().size()) && h.readBegin <= h.readEnd);
      zevfuzz::Check(h.otherBegin >= 0 && h.otherEnd < long(r.letters.size()) && h.otherBegin <= h.otherEnd);
    }
  }
  return 0;
}
