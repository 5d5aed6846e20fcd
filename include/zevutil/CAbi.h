// CAbi: reads and writes ABIF trace files, both sequence files (called bases, positions,
// analysed and raw traces) and fragment files (peak tables, colour matrix, analysis
// parameters), with their fixed tag tables. All numbers are big-endian in the file.
#pragma once
#include <cstddef>
#include <memory>

#include "zevutil/platform/CFile.h"
#include "zevutil/platform/CString.h"
#include "zevutil/platform/CTime.h"
#include "zevutil/platform/Types.h"

namespace zev {

class ByteCursor;

// One directory entry, 28 bytes in the file. In memory the numbers are in host order;
// the data field holds the four file bytes read as one big-endian word, so an inline
// two-byte value stands in its top half and a one-byte value in its top byte.
struct Abi_flag_record {
  char TagName[4];        // four characters, never swapped
  LONG TagNumber;
  WORD ElementType;
  WORD ElementSize;
  LONG NumElements;
  LONG DataSize;
  LONG DataOffset;        // file offset, or the data itself when it fits in four bytes
  LONG DataHandle;        // the writer leaves 0
};
static_assert(sizeof(Abi_flag_record) == 28, "directory entry is 28 bytes");

// One point of a four-channel trace: slots A, C, G, T (or voltage channels 0 to 3).
struct AbiTraceRecord {
  WORD Slot[4];
};
static_assert(sizeof(AbiTraceRecord) == 8, "trace record is 8 bytes");

#pragma pack(push, 1)
// One called base: its position in the trace and its letter, with no padding between.
struct AbiBaseRecord {
  WORD Position;
  char Base;
};

// One peak of a fragment file, 96 bytes in the file and in memory, numbers big-endian
// in the file. The meaning of the fields belongs to the caller; they are named after
// their offsets.
struct AbiPeak_parameters {
  LONG lField0;
  WORD wField4;
  LONG lField6;
  LONG lField10;
  WORD wField14;
  WORD wField16;
  LONG lField18;
  LONG lField22;
  float fField26;         // four bytes reversed as a unit
  WORD wField30;
  BYTE bField32[64];      // carried as they stand
};

// One standard peak of a fragment file, 8 bytes.
struct AbiStandardPeak {
  WORD wField0;
  LONG lField2;
  WORD wField6;
};
#pragma pack(pop)
static_assert(sizeof(AbiBaseRecord) == 3, "base record is 3 bytes");
static_assert(sizeof(AbiPeak_parameters) == 96, "peak record is 96 bytes");
static_assert(sizeof(AbiStandardPeak) == 8, "standard peak record is 8 bytes");

// The Rate block: three 32-bit values, of which the middle one is the scan rate.
struct AbiScan_rate {
  LONG lRate[3];
};

// The analysis parameter block (LANS), 136 bytes; only the two words are swapped.
struct AbiAnaly_parameter {
  WORD wParameter;        // SetStandardChannel stores 9
  WORD wStandardChannel;
  BYTE bTextLength;       // SetStandardChannel stores 20
  char szText[21];        // SetStandardChannel stores "<Analysis Parameter>"
  BYTE bReserved[110];
};
static_assert(sizeof(AbiAnaly_parameter) == 136, "analysis parameter block is 136 bytes");

// Raised by the header check and caught inside Read and GetFileStats.
class CabiException {
 public:
  explicit CabiException(const CString& message) : m_strMessage(message) {}
  CString m_strMessage;
};

class CAbi {
 public:
  // Directory entries of a written sequence and fragment file.
  static constexpr int kSequenceRecordCount = 33;
  static constexpr int kFragmentRecordCount = 46;

  CAbi();
  // Copies share the tag table and every array with their source, as they always did:
  // writing through one shows in the other. Each keeps its share alive, so either may go.
  CAbi(const CAbi&) = default;
  CAbi& operator=(const CAbi&) = default;
  virtual ~CAbi();

  // Reads a sequence or fragment file (or the header and directory of any other ABIF
  // file). False when the file can't be opened, isn't ABIF, or asks for more memory
  // than the file can fill; what was read stays in the object until the next Read.
  int Read(const CString& path);
  // Writes the object as built; good once per built tag table. False when the file
  // can't be written.
  int Write(const CString& path);
  // Reads header and directory only (into this object): the sample and raw-data counts
  // a Read would give, 0 and 0 on failure, the raw count only for a file of neither
  // kind. Leaves GetFileStatus false.
  int GetFileStats(const CString& path, unsigned int& samples, unsigned int& rawData);
  // The file status captured by the last Read or Write; false unless it succeeded.
  int GetFileStatus(CFileStatus& status);
  CString GetFileName() { return m_strFileName; }

  // File kind and content flags. They accumulate across reads on one object.
  int IsSequenceFile() { return m_bSequenceFile; }
  void SetSequenceFile(int on) { m_bSequenceFile = on; }
  int IsFragmentFile() { return m_bFragmentFile; }
  void SetFragmentFile(int on) { m_bFragmentFile = on; }
  int IsRawDataFile() { return m_bRawDataFile; }
  void SetRawDataFile(int on) { m_bRawDataFile = on; }
  int HasRawData() { return m_bHasRawData; }
  void SetRawDataFlag(int on) { m_bHasRawData = on; }
  int HasSequenceResult() { return m_bHasSequenceResult; }
  void SetSequenceResultFlag(int on) { m_bHasSequenceResult = on; }
  int HasFragmentResult() { return m_bHasFragmentResult; }
  void SetFragmentResultFlag(int on) { m_bHasFragmentResult = on; }

  // Run information.
  CString GetSampleName() { return m_strSampleName; }
  void SetSampleName(const CString& name) { m_strSampleName = name; }
  void GetRunDateTime(CTime& start, CTime& stop) { start = m_runStart; stop = m_runStop; }
  void SetRunDateTime(const CTime& start, const CTime& stop) { m_runStart = start; m_runStop = stop; }
  CString GetDyeMobilityCorrectFile() { return m_strDyeMobilityFile; }
  void SetDyeMobilityCorrectFile(const CString& name) { m_strDyeMobilityFile = name; }
  unsigned short GetScanNumber() { return m_nScanNumber; }
  void SetScanNumber(unsigned short scans) { m_nScanNumber = scans; }
  CString GetMachineName() { return m_strMachineName; }
  void SetMachineName(const CString& name) { m_strMachineName = name; }
  LONG GetScanRate() { return m_scanRate.lRate[1]; }
  void SetScanRate(LONG rate) { m_scanRate.lRate[1] = rate; }
  int GetLaneNumber() { return m_nLaneNumber; }
  void SetLaneNumber(int lane) { m_nLaneNumber = lane; }
  // Four scale factors, slots A, C, G, T.
  void GetScaleFactor(unsigned short* factors);
  void SetScaleFactor(const unsigned short* factors);
  float GetAveragebaseSpace() { return m_fAverageBaseSpace; }
  void SetAverageBaseSpace(float space) { m_fAverageBaseSpace = space; }
  // The CpEP byte of the last file read (0 when it had none).
  int GetCpEPValue() { return m_nCpEPValue; }

  // Fragment-file texts and values.
  CString GetSizeStandardFileName() { return m_strSizeStandardFile; }
  void SetSizeStandardFileName(const CString& name) { m_strSizeStandardFile = name; }
  CString GetFragParameterFileName() { return m_strFragParameterFile; }
  void SetFragParameterFileName(const CString& name) { m_strFragParameterFile = name; }
  CString GetMatrixFileName() { return m_strMatrixFile; }
  void SetMatrixFileName(const CString& name) { m_strMatrixFile = name; }
  CString GetGelName() { return m_strGelName; }
  void SetGelName(const CString& name) { m_strGelName = name; }
  int GetDataOffSet() { return m_nDataOffset; }
  void SetDataOffSet(int offset) { m_nDataOffset = offset; }
  // 16 floats, rows A, C, G, T of four.
  void GetMatrix(float* matrix);
  void SetMatrix(const float* matrix);
  void SetStandardChannel(int channel);
  unsigned short GetStandardChannel() { return m_analysisParameter.wStandardChannel; }

  // Building a file: SetSequenceFile(1) or SetFragmentFile(1), then the tag table, then
  // the arrays (InitSampleSizeAndArray raises the result flag without which the sample,
  // base and peak counts read 0), the values, and Write. Each Init... returns 1.
  void InitialSeqFlagRecords();
  void InitialFragFlagRecords();
  int InitSampleSizeAndArray(unsigned int n);
  int InitRawDataSizeAndArray(unsigned int n);
  int InitVcptDataSizeAndArray(unsigned int n);
  int InitBaseSizeAndArray(unsigned int b);
  int InitPeakInfoArray(int p1, int p2, int p3, int p4);
  int InitStandardPeakInfoArray(int s, bool b1, bool b2, bool b3, bool b4);

  // Element access; false for an index outside the count.
  int SetSample(int i, unsigned short a, unsigned short c, unsigned short g, unsigned short t);
  int GetSample(int i, unsigned short& a, unsigned short& c, unsigned short& g, unsigned short& t);
  int SetRawData(int i, unsigned short a, unsigned short c, unsigned short g, unsigned short t);
  int GetRawData(int i, unsigned short& a, unsigned short& c, unsigned short& g, unsigned short& t);
  int SetVcptData(int i, unsigned short v0, unsigned short v1, unsigned short v2, unsigned short v3);
  int GetVcptData(int i, unsigned short& v0, unsigned short& v1, unsigned short& v2, unsigned short& v3);
  int SetBase(int i, unsigned short position, char base);
  int GetBase(int i, unsigned short& position, char& base);
  // Peaks of all four channels in one list, channel after channel.
  void SetPeakInfo(int i, AbiPeak_parameters& peak);
  void GetPeakInfo(int i, AbiPeak_parameters& peak);
  void SetStandardPeakInfo(int i, AbiStandardPeak& peak);
  void GetStandardPeakInfo(int i, AbiStandardPeak& peak);

  // Counts, as the tag table states them (0 while the matching flag is down).
  int GetSampleCount();
  int GetRawDataCount();
  int GetVcptCount();
  int GetBaseCount();
  int GetPeakListCount();
  int GetNumbPeakInChannel1();
  int GetNumbPeakInChannel2();
  int GetNumbPeakInChannel3();
  int GetNumbPeakInChannel4();
  int GetStandardPeakCount();

  // The base letters of the last Read.
  CString GetBaseSequence() { return m_strBaseSequence; }
  // Takes the first four characters.
  void SetTraceOrder(const CString& order);
  // The four letters once the FWO_ record has been filled by a Read or Write, else empty.
  CString GetTraceOrder();

  // "MONTH DAY YEAR HH:MM:SS" to a time, with the conversions it has always made.
  CTime GetTimeFromString(CString text);

  // The directory of the last file read, entry by entry in host order.
  int GetDirectoryCount();
  int GetDirectoryEntry(int i, Abi_flag_record& record);
  // The tag table as built or read (null before one exists); 33 or 46 records.
  const Abi_flag_record* GetFlagRecords() const { return m_pTagTable.get(); }
  int GetFlagRecordCount() const { return m_pTagTable ? m_nTagTableSize : 0; }

 private:
  // An owned array that copies of the object share; its size travels with it.
  template <class T>
  struct SharedArray {
    std::shared_ptr<T[]> p;
    std::size_t n = 0;
    T* get() const { return p.get(); }
    void reset() { p.reset(); n = 0; }
    void allocate(std::size_t count, bool zeroed = true);
  };
  class Image;  // the file being written, in memory

  void InitMemberData();
  void ParseFile(ByteCursor& in, bool directoryOnly);
  Abi_flag_record* Record(const char* tag, LONG number);
  LONG RecordCount(const char* tag, LONG number);
  const Abi_flag_record* Present(const char* tag, LONG number);  // with a count above 0
  LONG DataCount(int first, int channels, bool largest);

  // Reading.
  void ReadHeader(ByteCursor& in);
  void ReadFlagRecords(ByteCursor& in);
  void ReadFlagRecordsInto(int tableSize);
  void ReadSequenceFlagRecords();
  void ReadFragmentFlagRecords();
  void ReadComments(ByteCursor& in);
  void ReadFragmentComments(ByteCursor& in);
  void ReadBases(ByteCursor& in);
  void ReadSample(ByteCursor& in);
  void ReadRawData(ByteCursor& in);
  void ReadCvpt(ByteCursor& in);
  void ReadMatrix(ByteCursor& in);
  void ReadPeakInfo(ByteCursor& in);
  void ReadTrace(ByteCursor& in, int firstTag, LONG count, SharedArray<AbiTraceRecord>& array,
                 WORD fill, bool byTraceOrder);
  void ReadRunTime(LONG number, CTime& time);
  CString TraceOrderText() const;
  CString TraceOrderOrDefault() const;

  // Writing.
  void WriteComments(Image& out);
  void SetOtherFlags_Sequence(Image& out);
  void WriteBases(Image& out);
  void WritePeakInfo(Image& out);
  void WriteComments_Fragment(Image& out);
  void SetOtherFlags_Fragment(Image& out);
  void WriteMatrix(Image& out);
  void WriteSample(Image& out);
  void WriteRawData(Image& out);
  void WriteVcptData(Image& out);
  void WriteTrace(Image& out, int firstTag, LONG count, const SharedArray<AbiTraceRecord>& array);
  void WriteFlagsRecords(Image& out);
  void WriteHeader(Image& out);
  void WritePascalString(Image& out, const char* tag, LONG number, const CString& text);
  void WriteScanRate(Image& out);
  void SetRunTimeRecords();

  int m_bStatusValid = 0;
  std::shared_ptr<CFileStatus> m_pFileStatus;
  int m_bSequenceFile = 0;
  int m_bFragmentFile = 0;
  int m_bRawDataFile = 0;
  int m_bHasRawData = 0;
  int m_bHasSequenceResult = 0;
  int m_bHasFragmentResult = 0;
  LONG m_nWriteCursor = 128;
  CString m_strFileName;
  CString m_strSampleName;
  CTime m_runStart;
  CTime m_runStop;
  CString m_strDyeMobilityFile;
  unsigned short m_nScanNumber = 0;
  CString m_strSizeStandardFile;
  CString m_strFragParameterFile;
  int m_nCpEPValue = 0;
  CString m_strMachineName;
  CString m_strMatrixFile;
  AbiScan_rate m_scanRate = {};
  AbiAnaly_parameter m_analysisParameter = {};
  int m_nLaneNumber = 0;
  CString m_strGelName;
  unsigned short m_nScaleFactor[4] = {1, 1, 1, 1};
  char m_szTraceOrder[4] = {};
  int m_nDataOffset = 0;
  float m_fAverageBaseSpace = 1.0f;
  std::shared_ptr<Abi_flag_record[]> m_pTagTable;
  int m_nTagTableSize = 0;
  SharedArray<Abi_flag_record> m_directory;  // host order, as many as the header counts
  Abi_flag_record m_dirRecord = {};
  SharedArray<AbiTraceRecord> m_samples;
  SharedArray<AbiBaseRecord> m_bases;
  SharedArray<AbiTraceRecord> m_rawData;
  SharedArray<AbiTraceRecord> m_vcptData;
  CString m_strBaseSequence;
  float m_fMatrix[16] = {};
  SharedArray<AbiPeak_parameters> m_peaks;
  SharedArray<AbiStandardPeak> m_standardPeaks;
};

}  // namespace zev
