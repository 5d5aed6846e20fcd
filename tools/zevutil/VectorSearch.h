// Sequence-based trimming: every sequence of a FASTA vector file is aligned locally
// against the read (Smith-Waterman with affine gaps, both strands, IUB codes), and
// each hit above a score threshold becomes a ContaminantMatch whose trim type says
// where it lies: at the read's left end, at its right end, or inside it.
#pragma once
#include <string>
#include <vector>

#include "zevutil/CBaseSequence.h"
#include "zevutil/ContaminantMatch.h"

namespace zevcli {

struct VectorRecord {
  std::string name;     // the title line up to its first blank
  std::string letters;  // upper case IUB letters, gaps and blanks removed
};

// Parses FASTA text. Lower case becomes upper case, U becomes T, '-', '*', digits
// and blanks inside sequence lines are dropped, ';' lines are comments. Throws
// CommandError naming the source for empty text, text that is not FASTA, a record
// without bases and a character that is no base letter.
std::vector<VectorRecord> ParseFasta(const std::string& text, const std::string& source);
std::vector<VectorRecord> ReadVectorFile(const std::string& path);

// A gap of k bases costs gapOpen + k * gapExtend.
struct AlignmentScores {
  int match = 2;
  int mismatch = -3;
  int gapOpen = 5;
  int gapExtend = 2;
};

struct VectorSearchOptions {
  AlignmentScores scores;
  int minScore = 40;        // a hit must score at least this
  int endSlack = 20;        // a hit this close to an end of the kept region is an end match
  int maxHitsPerVector = 8; // hits looked for per vector sequence, over both strands
  bool bothStrands = true;
};

// The best local alignment's score and where it ends (0-based, included), read first.
struct LocalScore {
  int score = 0;
  long readEnd = -1;
  long otherEnd = -1;
};

// The 4-bit IUB code of a letter (A 1, C 2, G 4, T 8, N 15, either case); 0 for any
// other character, which matches nothing.
unsigned char IubBits(char letter);

// Best local score by plain dynamic programming over the two letter strings; the
// reference the fast search is checked against.
LocalScore BestLocalScorePlain(const std::string& read, const std::string& other, const AlignmentScores& scores);
// The same by the striped vector method where the machine has it.
LocalScore BestLocalScore(const std::string& read, const std::string& other, const AlignmentScores& scores);

// One aligned hit in read coordinates. For a hit on the reverse strand the vector
// coordinates and row are those of the vector's reverse complement.
struct VectorHit {
  int score = 0;
  long readBegin = 0, readEnd = -1;    // 0-based, included
  long otherBegin = 0, otherEnd = -1;  // 0-based, included
  bool reverse = false;
  std::string readRow, otherRow, marks;  // '-' for a gap; '|' identical, ':' IUB-compatible
};

// The hits of one vector sequence on the read, best first, non-overlapping in the read.
std::vector<VectorHit> FindVectorHits(const std::string& read, const VectorRecord& vector,
                                      const VectorSearchOptions& options);

// The hits of every vector as contaminant matches, by read begin. keepFirst and
// keepLast (list indices) bound the region whose ends decide the trim type: left when
// the hit begins within endSlack of keepFirst, else right when it ends within endSlack
// of keepLast, else internal. A left match is cut up to its end, a right match from
// its begin. A reverse-strand hit is named "<name> (reverse complement)".
std::vector<zev::ContaminantMatch> FindContaminants(const std::string& read, const std::vector<VectorRecord>& vectors,
                                                    const VectorSearchOptions& options, long keepFirst, long keepLast);

// Searches the sequence's letters, using its quality trim range (if any) as the kept
// region, and gives the sequence the matches: its array is made large enough for all
// of them and each is inserted, so the array holds them best first as the trimming
// expects. Returns the number of matches.
int AddVectorMatches(zev::CBaseSequence& sequence, const std::vector<VectorRecord>& vectors,
                     const VectorSearchOptions& options);

}  // namespace zevcli
