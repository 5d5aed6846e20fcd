// Instrument calibration records, their flat twins, and the dead-time values of an INI file.
#include "zevutil/CInstrumentCalib.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "zevutil/platform/Profile.h"

namespace zev {

namespace {

// Copies at most 48 characters and zero-fills the rest of the 50-byte field.
void CopyCalibText(char (&dst)[kCalibTextSize], const char* src) {
  const size_t n = strnlen(src, kCalibTextMax);
  std::memcpy(dst, src, n);
  std::memset(dst + n, 0, kCalibTextSize - n);
}

// A fixed field that may lack its NUL, as a string.
template <size_t N>
CString FieldText(const char (&field)[N]) {
  return CString(field, int(strnlen(field, N)));
}

template <size_t N>
void CopyField(char (&dst)[N], const char* src) {
  const size_t n = strnlen(src, N - 1);
  std::memcpy(dst, src, n);
  std::memset(dst + n, 0, N - n);
}

}  // namespace

// ---- CapillaryCalib ----

CapillaryCalib::CapillaryCalib() { SetDefaultValues(); }

void CapillaryCalib::SetDefaultValues() {
  std::memset(CapillaryID, 0, sizeof CapillaryID);
  std::memset(CapillaryStrings, 0, sizeof CapillaryStrings);
  FirstValue = 0.0;
  Values[0] = Values[1] = 0.0;
  InstalledTime = LONG(CTime::GetCurrentTime().GetTime());
  Counters[0] = Counters[1] = 0;
  for (auto& t : Texts) t.Empty();
  TimeStamp = InstalledTime;
  LastWord = 0;
}

void CapillaryCalib::SetCapillaryID(const char* id) {
  if (id) CopyCalibText(CapillaryID, id);
}

void CapillaryCalib::SetCapillaryStrings(const char* id, const char* s1, const char* s2, const char* s3) {
  SetCapillaryID(id);
  const char* strings[3] = {s1, s2, s3};
  for (int i = 0; i < 3; ++i)
    if (strings[i]) CopyCalibText(CapillaryStrings[i], strings[i]);
}

CapillaryCalib& CapillaryCalib::operator=(const CapillaryCalibMap& map) {
  const CString id = FieldText(map.CapillaryID);
  const CString s1 = FieldText(map.CapillaryStrings[0]), s2 = FieldText(map.CapillaryStrings[1]),
                s3 = FieldText(map.CapillaryStrings[2]);
  SetCapillaryStrings(id, s1, s2, s3);
  FirstValue = map.FirstValue;
  Values[0] = map.Values[0];
  Values[1] = map.Values[1];
  InstalledTime = map.InstalledTime;
  Counters[0] = map.Counters[0];
  Counters[1] = map.Counters[1];
  for (int i = 0; i < 3; ++i) Texts[i] = FieldText(map.Texts[i]);
  TimeStamp = map.TimeStamp;
  LastWord = map.LastWord;
  return *this;
}

CapillaryCalibMap& CapillaryCalibMap::operator=(const CapillaryCalib& source) {
  CopyCalibText(CapillaryID, source.CapillaryID);
  for (int i = 0; i < 3; ++i) CopyCalibText(CapillaryStrings[i], source.CapillaryStrings[i]);
  FirstValue = source.FirstValue;
  Values[0] = source.Values[0];
  Values[1] = source.Values[1];
  InstalledTime = source.InstalledTime;
  Counters[0] = source.Counters[0];
  Counters[1] = source.Counters[1];
  for (int i = 0; i < 3; ++i) CopyCalibText(Texts[i], source.Texts[i]);
  TimeStamp = source.TimeStamp;
  LastWord = source.LastWord;
  return *this;
}

// ---- BufferCalib ----

void BufferCalib::SetDefaultValues() {
  for (auto& t : Texts) t.Empty();
}

BufferCalib& BufferCalib::operator=(const BufferCalibMap& map) {
  for (int i = 0; i < 3; ++i) Texts[i] = FieldText(map.Texts[i]);
  return *this;
}

BufferCalibMap& BufferCalibMap::operator=(const BufferCalib& source) {
  for (int i = 0; i < 3; ++i) CopyCalibText(Texts[i], source.Texts[i]);
  return *this;
}

// ---- CDeadtimeCalib ----

CDeadtimeCalib::CDeadtimeCalib() { SetDefaultValues(); }

CDeadtimeCalib::CDeadtimeCalib(const DeadtimeCalibMap& map) { *this = map; }

CDeadtimeCalib::~CDeadtimeCalib() = default;

CDeadtimeCalib& CDeadtimeCalib::operator=(const DeadtimeCalibMap& map) {
  Deadtime = map.Deadtime;
  Value2 = map.Value2;
  Value3 = map.Value3;
  Value4 = map.Value4;
  Value5 = map.Value5;
  Value6 = map.Value6;
  DeadtimeThreshold = map.DeadtimeThreshold;
  for (int i = 0; i < 2; ++i) {
    SaturationUpper[i] = map.SaturationUpper[i];
    SaturationLower[i] = map.SaturationLower[i];
  }
  return *this;
}

DeadtimeCalibMap& DeadtimeCalibMap::operator=(const CDeadtimeCalib& source) {
  Deadtime = source.Deadtime;
  Value2 = source.Value2;
  Value3 = source.Value3;
  Value4 = source.Value4;
  Value5 = source.Value5;
  Value6 = source.Value6;
  DeadtimeThreshold = source.DeadtimeThreshold;
  for (int i = 0; i < 2; ++i) {
    SaturationUpper[i] = source.SaturationUpper[i];
    SaturationLower[i] = source.SaturationLower[i];
  }
  return *this;
}

void CDeadtimeCalib::SetDefaultValues() {
  Deadtime = 15.75;
  Value2 = 10.0;
  Value3 = 15.0;
  Value4 = 0.25;
  Value5 = 0.0;
  Value6 = 0.6;
  DeadtimeThreshold = 20.0;
  SaturationUpper[0] = 128000.0;
  SaturationUpper[1] = 80000.0;
  SaturationLower[0] = 64000.0;
  SaturationLower[1] = 40000.0;
}

void CDeadtimeCalib::UpdateToCurrentValues() {
  const double deadtime = Deadtime;
  SetDefaultValues();
  Deadtime = deadtime;
}

void CDeadtimeCalib::LoadINIFileValues(const char* file) {
  if (!file) return;
  static const char kSection[] = "INSTRUMENT";
  char buffer[255];
  // kept: a value of one character ("5") counts as absent; "5.0" is read
  auto read = [&](const char* key) {
    DWORD n = GetPrivateProfileStringA(kSection, key, "", buffer, sizeof buffer, file);
    return n > 1;
  };

  if (!read("Deadtime")) return;
  // kept: text that is no number reads as 0.0, which is a valid dead time
  const double deadtime = std::strtod(buffer, nullptr);
  if (!(deadtime >= 0.0 && deadtime < 40.0)) return;
  Deadtime = deadtime;

  if (read("DeadtimeThreshold")) {
    const double threshold = std::strtod(buffer, nullptr);
    if (threshold >= 0.0) DeadtimeThreshold = threshold;
  }
  if (read("Saturation")) {
    double lower = 0.0, upper = 0.0;
    if (std::sscanf(buffer, "%lf %lf", &lower, &upper) == 2) {
      const int i = SaturationIndex();
      SaturationLower[i] = lower;
      SaturationUpper[i] = upper;
    }
  }
}

void CDeadtimeCalib::SaveINIFileValues(const char*) const {}

// ---- InstrumentIDMap ----

InstrumentIDMap& InstrumentIDMap::operator=(const CInstrumentID& source) {
  CopyField(ObName, source.ObName);
  ObToken = source.ObToken;
  ObType = source.ObType;
  DatabaseIndex = source.DatabaseIndex;
  ObAttrFlags = source.ObAttrFlags;
  CopyField(InstrumentSerial, source.InstrumentSerial);
  CopyField(InstrumentFirmware, source.InstrumentFirmware);
  CopyField(InstrumentInfo, source.InstrumentInfo);
  InstrumentTime = source.InstrumentTime;
  return *this;
}

// ---- CInstrumentCalib ----

namespace {
constexpr double kConstant1 = 0.0216;
constexpr double kConstant2 = 1.0;
constexpr double kLimit = 131070.0;
}  // namespace

CInstrumentCalib::CInstrumentCalib() { SetDefaultValues(); }

CInstrumentCalib::CInstrumentCalib(const CInstrumentID& instrument) : Instrument(instrument) { SetDefaultCalib(); }

CInstrumentCalib::CInstrumentCalib(const CInstrumentCalib& other) : CObject(other) {
  SetDefaultValues();
  *this = other;
}

CInstrumentCalib& CInstrumentCalib::operator=(const CInstrumentCalib& other) {
  if (this == &other) return *this;
  Instrument = other.Instrument;
  Capillary = other.Capillary;
  Buffer = other.Buffer;
  Deadtime = other.Deadtime;
  Constant1 = other.Constant1;
  Constant2 = other.Constant2;
  for (int i = 0; i < 4; ++i) Coefficients[i] = other.Coefficients[i];
  Limit = other.Limit;
  return *this;
}

CInstrumentCalib& CInstrumentCalib::operator=(const InstrumentCalibMap& map) {
  const InstrumentIDMap& id = map.Instrument;
  Instrument.SetObName(FieldText(id.ObName));
  Instrument.ObToken = id.ObToken;
  Instrument.ObType = id.ObType;
  Instrument.DatabaseIndex = id.DatabaseIndex;
  Instrument.ObAttrFlags = id.ObAttrFlags;
  CopyField(Instrument.InstrumentSerial, FieldText(id.InstrumentSerial));
  CopyField(Instrument.InstrumentFirmware, FieldText(id.InstrumentFirmware));
  CopyField(Instrument.InstrumentInfo, FieldText(id.InstrumentInfo));
  Instrument.InstrumentTime = id.InstrumentTime;
  Capillary = map.Capillary;
  Buffer = map.Buffer;
  Deadtime = map.Deadtime;
  Constant1 = map.Constant1;
  Constant2 = map.Constant2;
  for (int i = 0; i < 4; ++i) Coefficients[i] = map.Coefficients[i];
  Limit = map.Limit;
  return *this;
}

CInstrumentCalib::~CInstrumentCalib() = default;

void CInstrumentCalib::SetDefaultValues() {
  Instrument.SetDefaultValues();
  Capillary.SetDefaultValues();
  Buffer.SetDefaultValues();
  SetDefaultCalib();
}

void CInstrumentCalib::SetDefaultCalib() {
  Deadtime.SetDefaultValues();
  Constant1 = kConstant1;
  Constant2 = kConstant2;
  // (3 - i) / 32 for the first three, and 0.
  for (int i = 0; i < 3; ++i) Coefficients[i] = (3 - i) * 0.03125;
  Coefficients[3] = 0.0;
  Limit = kLimit;
}

void CInstrumentCalib::UpdateToCurrentValues() {
  Constant1 = kConstant1;
  Constant2 = kConstant2;
  for (int i = 0; i < 3; ++i) Coefficients[i] = (3 - i) * 0.03125;
  Coefficients[3] = 0.0;
  Limit = kLimit;
  Deadtime.UpdateToCurrentValues();
}

void CInstrumentCalib::LoadINIFileValues(const char* file) { Deadtime.LoadINIFileValues(file); }

void CInstrumentCalib::SaveINIFileValues(const char* file) const { Deadtime.SaveINIFileValues(file); }

InstrumentCalibMap& InstrumentCalibMap::operator=(const CInstrumentCalib& source) {
  Instrument = source.Instrument;
  Capillary = source.Capillary;
  Buffer = source.Buffer;
  Deadtime = source.Deadtime;
  Constant1 = source.Constant1;
  Constant2 = source.Constant2;
  for (int i = 0; i < 4; ++i) Coefficients[i] = source.Coefficients[i];
  Limit = source.Limit;
  return *this;
}

InstrumentCalibMap& Map(const CInstrumentCalib& source, InstrumentCalibMap& target) {
  target = source;
  return target;
}

}  // namespace zev
