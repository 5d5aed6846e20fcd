// Reading trace files for the commands: the format told by content, and what a trace
// carries (bases, peaks, probabilities, qualities, channels, names) whatever its format.
#pragma once
#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "zevutil/CAbi.h"
#include "zevutil/CCrv.h"
#include "zevutil/CEsd.h"
#include "zevutil/CScf.h"

namespace zevcli {

enum class Kind { Unknown, Scf, Abif, Esd, Crv };

// The format from the content: the magic words of SCF, ABIF and CRV, and for ESD,
// which has none, a trailer whose number of lines accounts for the whole file.
Kind DetectFormat(const std::string& bytes);

// The text with control bytes and DEL written as \xNN.
std::string Printable(const std::string& s);

struct Trace {
  std::string format;                            // what it was read from
  std::string name;                              // sample name, when the format has one
  std::string bases;
  std::vector<std::uint32_t> peaks;              // one per base
  std::vector<std::array<std::uint8_t, 4>> probs;  // one per base, A C G T
  std::vector<std::uint8_t> quality;             // one per base; empty when the file has none
  std::array<std::vector<std::uint16_t>, 4> channels;  // A C G T
  std::array<std::vector<std::uint16_t>, 4> raw;       // raw traces, when there are any
  std::vector<std::string> comments;
  std::vector<std::string> warnings;             // what the reader noticed but could live with
  double secondsPerScan = 0.0;                   // from the run times, 0 when unknown
  // What only an SCF source has.
  bool scfPrivate = false;
  unsigned rawScale = 4, rawRate = 2, analyzedScale = 1, analyzedRate = 1, currentScale = 1;
  std::vector<std::array<unsigned char, 3>> cvt;
  std::string barcode, subject;

  std::size_t Samples() const { return channels[0].size(); }
};

std::uint16_t ClampSample(double v);

// Each Load throws CommandError naming the file when the library cannot read it.
void LoadScf(const std::string& path, const std::string& bytes, zev::CScf& scf);
void LoadEsd(const std::string& path, const std::string& bytes, zev::CEsd& esd);
void LoadCrv(const std::string& path, const std::string& bytes, zev::CCrv& crv);
void LoadAbif(const std::string& path, zev::CAbi& abi);
std::vector<std::string> ScfComments(const zev::CScf& scf);

// The per-base quality values of a read ABIF file: the PCON2 tag (the quality of
// the analysed calls that PBAS2 holds), read from the file's bytes through the
// directory the library read. Empty when the tag is missing or lies outside the file.
std::vector<std::uint8_t> ReadAbifQualities(const std::string& bytes, zev::CAbi& abi);

// Reads any of the four formats; throws CommandError when the file cannot be read or
// is none of them.
Trace ReadTrace(const std::string& path);

}  // namespace zevcli
