// What the software knows about one instrument: CInstrumentCalib with its parts
// CapillaryCalib (the capillary array fitted), BufferCalib (the buffer) and
// CDeadtimeCalib (the detector's dead time and saturation limits).
//
// Each has a flat twin (CapillaryCalibMap, BufferCalibMap, DeadtimeCalibMap,
// InstrumentCalibMap) in which every text is a fixed character array, so that the
// whole record is a plain block of memory that is copied as such and needs no
// construction. The two forms convert by assignment in either direction.
//
// The dead-time values come from an INI file, section "INSTRUMENT", keys "Deadtime",
// "DeadtimeThreshold" and "Saturation" ("lower upper"); they are never written back.
#pragma once
#include <type_traits>

#include "zevutil/CZevVersionID.h"
#include "zevutil/platform/CObject.h"
#include "zevutil/platform/CString.h"

namespace zev {

inline constexpr int kCalibTextSize = 50;  // 48 characters are kept, and the NUL
inline constexpr int kCalibTextMax = 48;

struct CapillaryCalibMap;
struct BufferCalibMap;
struct DeadtimeCalibMap;
struct InstrumentCalibMap;

struct CapillaryCalib {
  CapillaryCalib();  // SetDefaultValues()
  CapillaryCalib(const CapillaryCalib&) = default;
  CapillaryCalib& operator=(const CapillaryCalib&) = default;
  // Texts through SetCapillaryStrings and CString assignment, numbers as they are.
  CapillaryCalib& operator=(const CapillaryCalibMap& map);

  // Empty texts, numbers 0, installed time and time stamp the current time.
  void SetDefaultValues();
  // Copy at most 48 characters; a null pointer leaves its field as it was.
  void SetCapillaryID(const char* id);
  void SetCapillaryStrings(const char* id, const char* s1, const char* s2, const char* s3);

  char CapillaryID[kCalibTextSize];
  char CapillaryStrings[3][kCalibTextSize];
  double FirstValue;
  double Values[2];
  LONG InstalledTime;  // seconds since 1970, as the old 32-bit time_t
  LONG Counters[2];
  CString Texts[3];
  LONG TimeStamp;  // seconds since 1970
  LONG LastWord;
};

struct CapillaryCalibMap {
  // Texts cut to 48 characters.
  CapillaryCalibMap& operator=(const CapillaryCalib& source);

  char CapillaryID[kCalibTextSize];
  char CapillaryStrings[3][kCalibTextSize];
  double FirstValue;
  double Values[2];
  LONG InstalledTime;
  LONG Counters[2];
  char Texts[3][kCalibTextSize];
  LONG TimeStamp;
  LONG LastWord;
};

struct BufferCalib {
  BufferCalib() = default;
  BufferCalib& operator=(const BufferCalibMap& map);
  BufferCalib(const BufferCalib&) = default;
  BufferCalib& operator=(const BufferCalib&) = default;
  void SetDefaultValues();  // empty texts

  CString Texts[3];
};

struct BufferCalibMap {
  BufferCalibMap& operator=(const BufferCalib& source);  // texts cut to 48 characters

  char Texts[3][kCalibTextSize];
};

class CDeadtimeCalib : public CObject {
 public:
  CDeadtimeCalib();  // SetDefaultValues()
  CDeadtimeCalib(const CDeadtimeCalib&) = default;
  CDeadtimeCalib& operator=(const CDeadtimeCalib&) = default;
  explicit CDeadtimeCalib(const DeadtimeCalibMap& map);
  CDeadtimeCalib& operator=(const DeadtimeCalibMap& map);
  ~CDeadtimeCalib() override;

  // Dead time 15.75, then 10.0, 15.0, 0.25, 0.0, 0.6, threshold 20.0, saturation
  // upper 128000 and 80000, lower 64000 and 40000.
  void SetDefaultValues();
  // Reads the file's "INSTRUMENT" section. A value of one character counts as absent.
  // "Deadtime" is taken when it is at or above 0 and below 40; only then are
  // "DeadtimeThreshold" (at or above 0) and "Saturation" ("lower upper", both
  // numbers needed) read. The saturation pair set is element 0 while the dead time
  // is below the threshold, else element 1. A null file does nothing.
  void LoadINIFileValues(const char* file);
  // Does nothing: the values are read from the file, never written.
  void SaveINIFileValues(const char* file) const;
  // Keeps the dead time and sets every other value to its default.
  void UpdateToCurrentValues();
  // The saturation element that applies: 0 below the threshold, else 1.
  int SaturationIndex() const { return Deadtime < DeadtimeThreshold ? 0 : 1; }

  double Deadtime;
  double Value2;
  double Value3;
  double Value4;
  double Value5;
  double Value6;
  double DeadtimeThreshold;
  double SaturationUpper[2];
  double SaturationLower[2];
};

struct DeadtimeCalibMap {
  DeadtimeCalibMap& operator=(const CDeadtimeCalib& source);

  double Deadtime;
  double Value2;
  double Value3;
  double Value4;
  double Value5;
  double Value6;
  double DeadtimeThreshold;
  double SaturationUpper[2];
  double SaturationLower[2];
};

// The flat form of the instrument identifier: its name, numbers and texts.
struct InstrumentIDMap {
  InstrumentIDMap& operator=(const CInstrumentID& source);  // texts cut to their fields

  char ObName[CObSeqID::kTextSize];
  LONG ObToken;
  LONG ObType;
  LONG DatabaseIndex;
  LONG ObAttrFlags;
  char InstrumentSerial[CInstrumentID::kFieldSize];
  char InstrumentFirmware[CInstrumentID::kFieldSize];
  char InstrumentInfo[CInstrumentID::kFieldSize];
  LONG InstrumentTime;
};

class CInstrumentCalib : public CObject {
 public:
  // All parts at their defaults (SetDefaultValues).
  CInstrumentCalib();
  // Copies the identifier; the capillary and buffer stay as constructed, and the
  // calibration values take their defaults (SetDefaultCalib).
  explicit CInstrumentCalib(const CInstrumentID& instrument);
  // Defaults first, then assignment.
  CInstrumentCalib(const CInstrumentCalib& other);
  CInstrumentCalib& operator=(const CInstrumentCalib& other);
  CInstrumentCalib& operator=(const InstrumentCalibMap& map);
  ~CInstrumentCalib() override;

  // The identifier's own defaults, then capillary, buffer and SetDefaultCalib().
  void SetDefaultValues();
  // The dead-time part's defaults, then the constants, coefficients and limit.
  void SetDefaultCalib();
  // The constants, coefficients and limit at their defaults, then the dead-time
  // part's UpdateToCurrentValues: only the dead time survives of the calibration;
  // capillary and buffer stay.
  void UpdateToCurrentValues();
  // Forward to the dead-time part.
  void LoadINIFileValues(const char* file);
  void SaveINIFileValues(const char* file) const;

  CInstrumentID Instrument;
  CapillaryCalib Capillary;
  BufferCalib Buffer;
  CDeadtimeCalib Deadtime;
  double Constant1;
  double Constant2;
  double Coefficients[4];
  double Limit;
};

struct InstrumentCalibMap {
  InstrumentCalibMap& operator=(const CInstrumentCalib& source);

  InstrumentIDMap Instrument;
  CapillaryCalibMap Capillary;
  BufferCalibMap Buffer;
  DeadtimeCalibMap Deadtime;
  double Constant1;
  double Constant2;
  double Coefficients[4];
  double Limit;
};

// Fills the flat form of source into target and returns target.
InstrumentCalibMap& Map(const CInstrumentCalib& source, InstrumentCalibMap& target);

// The flat twins are plain blocks of a fixed size on every host.
template <class T>
inline constexpr bool kIsFlatRecord = std::is_trivially_copyable_v<T> && std::is_standard_layout_v<T> &&
                                      std::is_trivially_default_constructible_v<T>;
static_assert(kIsFlatRecord<CapillaryCalibMap> && sizeof(CapillaryCalibMap) == 400);
static_assert(kIsFlatRecord<BufferCalibMap> && sizeof(BufferCalibMap) == 150);
static_assert(kIsFlatRecord<DeadtimeCalibMap> && sizeof(DeadtimeCalibMap) == 88);
static_assert(kIsFlatRecord<InstrumentIDMap> && sizeof(InstrumentIDMap) == 300);
static_assert(kIsFlatRecord<InstrumentCalibMap> && sizeof(InstrumentCalibMap) == 1000);

}  // namespace zev
