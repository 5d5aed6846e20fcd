// CEsd: run data files of one capillary: raw or processed data records from offset
// 0, then a fixed 632-byte trailer describing the run. Little-endian, no header.
#pragma once
#include <cstddef>
#include <memory>
#include <vector>

#include "zevutil/platform/CFile.h"
#include "zevutil/platform/CString.h"

namespace zev {

// Raw record: five signed values, in the order SetRawData takes them.
struct EsdRawData {
  LONG v[5];
};
// Processed record: one signed value, then four floats.
struct EsdProcessedData {
  LONG n;
  float f[4];
};
static_assert(sizeof(EsdRawData) == 20 && sizeof(EsdProcessedData) == 20, "ESD records are 20 bytes");

// The format's own failure. No operation raises it; Read and Write catch it.
class CEsdException {
 public:
  explicit CEsdException(const CString& message = CString()) : m_strMessage(message) {}
  const CString& GetMessage() const { return m_strMessage; }

 private:
  CString m_strMessage;
};

class CEsd {
 public:
  static constexpr int kTrailerSize = 632;

  CEsd();
  ~CEsd();
  // Copies share the data arrays and the status record with the original.
  CEsd(const CEsd&) = default;
  CEsd& operator=(const CEsd&) = default;

  // Reads the trailer from the end of the file, then the data records from offset 0.
  // A file shorter than the trailer leaves the trailer as it was. False when the file
  // can't be opened or its records could not fit in the file at all.
  BOOL Read(const CString& path);
  // Writes the data records, then the trailer as it stands.
  BOOL Write(const CString& path);
  // Clears the trailer, reads only the trailer and gives its number of lines (0 first).
  BOOL GetFileStats(const CString& path, LONG& lines);

  // The same on bytes in memory; no file status is captured.
  BOOL ReadFromMemory(const void* data, std::size_t size);
  BOOL WriteToMemory(std::vector<BYTE>& out) const;
  BOOL GetFileStatsFromMemory(const void* data, std::size_t size, LONG& lines);

  BOOL GetFileStatus(CFileStatus& status) const;
  CString GetFileName() const { return m_strFileName; }
  LONG GetFileLength() const { return m_lFileLength; }
  static LONG GetTrailerStructSize() { return kTrailerSize; }

  // Text fields read up to the first NUL; a field filled to its end runs on into the
  // field after it.
  CString GetSampleName() const { return Text(0); }
  CString GetOperatorName() const { return Text(24); }
  CString GetBeamSplitterA() const { return Text(86); }
  CString GetBeamSplitterB() const { return Text(116); }
  CString GetFilter1() const { return Text(146); }
  CString GetFilter2() const { return Text(176); }
  CString GetFilter3() const { return Text(206); }
  CString GetFilter4() const { return Text(236); }
  CString GetInstID() const { return Text(398); }
  CString GetParamSetName() const { return Text(420); }
  CString GetRunID() const { return Text(568); }
  CString GetPlateID() const { return Text(574); }
  // Entries 0 to 3, ten bytes each.
  CString GetBaseOrder(int i) const;

  // Copies at most 24 (30) bytes; a text that long leaves no terminator.
  void SetSampleName(const CString& name);
  void SetOperatorName(const CString& name);

  float GetRunVoltage() const { return Float(54); }
  float GetRunTime() const { return Float(58); }
  float GetInjectionTime() const { return Float(62); }
  float GetInjectionVoltage() const { return Float(66); }
  float GetTemperature() const { return Float(70); }
  LONG GetLazerIndex() const { return LONG(Word(74)); }
  float GetPMTVoltage1() const { return Float(78); }
  float GetPMTVoltage2() const { return Float(82); }
  float GetFillTime() const { return Float(266); }
  float GetFlushTime1() const { return Float(270); }
  float GetFlushTime2() const { return Float(274); }
  float GetFlushTime3() const { return Float(278); }
  float GetPrerunVoltage() const { return Float(282); }
  float GetRelaxationTime() const { return Float(286); }
  float GetPrerunTime() const { return Float(290); }
  // Rows and columns 0 to 3.
  float GetSpecSepMx(int row, int column) const;
  ULONG GetPrevRunID() const { return Word(592); }
  BOOL IsRawData() const { return Word(596) == 1; }
  BOOL IsDWORDFile() const { return Word(596) == 1; }
  BOOL IsSaturated() const { return Word(600) == 1; }
  float GetVersion() const { return Float(604); }
  LONG GetRunStartTime() const { return LONG(Word(608)); }
  LONG GetRunStopTime() const { return LONG(Word(612)); }
  ULONG GetNumberOfLines() const { return Word(616); }
  ULONG GetScanRate() const { return Word(620); }
  BYTE GetFileType() const { return m_Trailer[624]; }
  BYTE GetNumberOfCapillaries() const { return m_Trailer[625]; }
  BYTE GetCapUsage() const { return m_Trailer[626]; }
  // One byte with two readers.
  BYTE GetDummy() const { return m_Trailer[627]; }
  BYTE GetCurrentScaleFactor() const { return m_Trailer[627]; }
  ULONG GetSecurityCode() const { return Word(628); }
  // The trailer bytes as they stand.
  const BYTE* GetTrailer() const { return m_Trailer; }

  // Marks the object as a raw file of lines records ("A11" as sample name, 96
  // capillaries, ...) and makes the raw array. The second argument has no effect.
  int InitRawDataSizeAndArray(ULONG lines, ULONG unused);
  // Marks the object as a processed file of lines records and makes that array.
  int InitProcessedDataSizeAndArray(ULONG lines, ULONG scanRate);
  // Keeps the low byte.
  int InitCurrentScaleFactor(ULONG scale);

  BOOL SetRawData(int i, LONG v1, LONG v2, LONG v3, LONG v4, LONG v5);
  BOOL GetRawData(int i, LONG& v1, LONG& v2, LONG& v3, LONG& v4, LONG& v5) const;
  BOOL SetProcessedData(int i, LONG n, float f1, float f2, float f3, float f4);
  BOOL GetProcessedData(int i, LONG& n, float& f1, float& f2, float& f3, float& f4) const;

 private:
  CString Text(std::size_t offset) const;
  DWORD Word(std::size_t offset) const;
  float Float(std::size_t offset) const;
  void PutWord(std::size_t offset, DWORD v);
  void ParseTrailer(const BYTE* data, std::size_t size);
  void ParseDataPoints(const BYTE* data, std::size_t size);
  void Serialize(std::vector<BYTE>& out) const;

  CString m_strFileName;
  BOOL m_bStatusValid = FALSE;
  std::shared_ptr<CFileStatus> m_pFileStatus;
  LONG m_lFileLength = 0;
  // Shared between copies, so that a copy keeps working after the original is gone.
  std::shared_ptr<std::vector<EsdRawData>> m_pRawData;
  std::shared_ptr<std::vector<EsdProcessedData>> m_pProcessedData;
  BYTE m_Trailer[kTrailerSize];
};

}  // namespace zev
