// CScf: SCF chromatogram files, layouts 2.10 and 3.00, with the suite's private
// section (raw traces, cvt data, scale factors, barcode and subject ID).
#pragma once
#include <cstddef>
#include <memory>
#include <vector>

#include "zevutil/platform/CFile.h"
#include "zevutil/platform/CString.h"
#include "zevutil/platform/Collections.h"

namespace zev {

// The 128-byte file header, held in host order.
struct ScfHeader {
  DWORD magic;
  DWORD samples;           // number of sample points
  DWORD samplesOffset;
  DWORD bases;             // number of bases
  DWORD basesLeftClip;
  DWORD basesRightClip;
  DWORD basesOffset;
  DWORD commentsSize;      // bytes, no terminator counted
  DWORD commentsOffset;
  char version[4];         // four characters, no terminator of their own
  DWORD sampleSize;        // bytes per channel value: 1 or 2
  DWORD codeSet;
  DWORD privateSize;
  DWORD privateOffset;
  DWORD spare[18];
};
static_assert(sizeof(ScfHeader) == 128, "SCF header is 128 bytes");

// The 128-byte header of the private section, held in host order.
struct ScfPrivateHeader {
  DWORD magic;
  DWORD rawDataSize;        // raw records
  DWORD rawDataOffset;      // from the start of the private section
  DWORD cvtDataSize;        // cvt records
  DWORD cvtDataOffset;
  DWORD version;
  DWORD rawScaleFactor;
  DWORD rawSampleRate;
  DWORD analyzedScaleFactor;
  DWORD analyzedSampleRate;
  DWORD currentScaleFactor;
  DWORD barcodeOffset;
  DWORD subjectIdOffset;    // stored little-endian in the file, unlike every other word
  BYTE spare[76];
};
static_assert(sizeof(ScfPrivateHeader) == 128, "SCF private header is 128 bytes");

struct ScfBase {
  DWORD peakIndex;
  BYTE probA, probC, probG, probT;
  char base;
  BYTE spare[3];
};
static_assert(sizeof(ScfBase) == 12, "SCF base record is 12 bytes");

struct ScfSample2 { WORD a, c, g, t; };
struct ScfSample1 { BYTE a, c, g, t; };
struct ScfRawData { WORD v[4]; };
struct ScfCvtData { BYTE v[3]; };
static_assert(sizeof(ScfSample2) == 8 && sizeof(ScfSample1) == 4 && sizeof(ScfRawData) == 8 &&
                  sizeof(ScfCvtData) == 3,
              "SCF record sizes");

// The format's own failure, thrown by value inside Read and caught there.
class CScfException {
 public:
  explicit CScfException(const CString& message) : m_strMessage(message) {}
  const CString& GetMessage() const { return m_strMessage; }

 private:
  CString m_strMessage;
};

class CScf {
 public:
  static constexpr DWORD kMagic = 0x2E736366;         // ".scf"
  static constexpr DWORD kPrivateMagic = 0x2E7A6576;  // ".zev"

  CScf();
  ~CScf();
  CScf(const CScf&) = delete;
  CScf& operator=(const CScf&) = delete;

  // Reads a whole file. False when the file can't be opened, the magic or version
  // is wrong, or a count would need more records than the file could hold; what was
  // read before the failure stays in the object.
  BOOL Read(const CString& path);
  // Writes the object in the layout chosen by SetVersion210/SetVersion300. False
  // when the file can't be created or written.
  BOOL Write(const CString& path);
  // Reads only the two headers (earlier content is released); on success gives the
  // sample count and the raw data count.
  BOOL GetFileStats(const CString& path, unsigned int& samples, unsigned int& rawData);

  // The same operations on bytes in memory. They keep the file name and leave the
  // file status flag down, since no file is involved.
  BOOL ReadFromMemory(const void* data, std::size_t size);
  BOOL WriteToMemory(std::vector<BYTE>& out);
  BOOL GetFileStatsFromMemory(const void* data, std::size_t size, unsigned int& samples,
                              unsigned int& rawData);

  BOOL GetFileStatus(CFileStatus& status) const;
  CString GetFileName() const { return m_strFileName; }

  void SetVersion210() { m_nVersion = 210; }
  void SetVersion300() { m_nVersion = 300; }

  // Header fields, host order.
  DWORD GetMagic() const { return m_Header.magic; }
  DWORD GetSampleSize() const { return m_Header.samples; }
  DWORD GetSampleOffset() const { return m_Header.samplesOffset; }
  DWORD GetBaseSize() const { return m_Header.bases; }
  DWORD GetBasesLeftClip() const { return m_Header.basesLeftClip; }
  DWORD GetBasesRightClip() const { return m_Header.basesRightClip; }
  DWORD GetBaseOffset() const { return m_Header.basesOffset; }
  DWORD GetCommentSize() const { return m_Header.commentsSize; }
  DWORD GetCommentOffset() const { return m_Header.commentsOffset; }
  DWORD GetSampleStructSize() const { return m_Header.sampleSize; }
  DWORD GetCodeSet() const { return m_Header.codeSet; }
  DWORD GetPrivateSize() const { return m_Header.privateSize; }
  DWORD GetPrivateOffset() const { return m_Header.privateOffset; }
  // The version field read as text up to the first NUL. The field has no terminator
  // of its own, so the text runs on into the next field: take the first four characters.
  CString GetVersion() const;

  // Private header fields, host order.
  DWORD GetPrivateMagic() const { return m_PrivateHeader.magic; }
  DWORD GetRawDataSize() const { return m_PrivateHeader.rawDataSize; }
  DWORD GetRawDataOffset() const { return m_PrivateHeader.rawDataOffset; }
  DWORD GetCvtDataSize() const { return m_PrivateHeader.cvtDataSize; }
  DWORD GetCvtDataOffset() const { return m_PrivateHeader.cvtDataOffset; }
  DWORD GetScfVersion() const { return m_PrivateHeader.version; }
  DWORD GetRawScaleFactor() const { return m_PrivateHeader.rawScaleFactor; }
  DWORD GetRawSampleRate() const { return m_PrivateHeader.rawSampleRate; }
  DWORD GetAnalyzedScaleFactor() const { return m_PrivateHeader.analyzedScaleFactor; }
  DWORD GetAnalyzedSampleRate() const { return m_PrivateHeader.analyzedSampleRate; }
  DWORD GetCurrentScaleFactor() const { return m_PrivateHeader.currentScaleFactor; }

  // The letters of the last Read; SetBase does not feed it.
  CString GetBaseSequence() const { return m_strBaseSequence; }

  // Appends "\n" to the text and adds it to the end of the list.
  POSITION AddComment(CString text);
  POSITION GetFirstCommentPosition() const { return m_Comments.GetHeadPosition(); }
  CString GetNextComment(POSITION& pos) const { return m_Comments.GetNext(pos); }

  // Sets the base count and makes a zeroed array of that many records.
  int InitBaseSizeAndArray(unsigned int count);
  // False when i is negative or not below the base count. The spare bytes stay as they are.
  BOOL SetBase(int i, unsigned int peak, unsigned char a, unsigned char c, unsigned char g,
               unsigned char t, char base);
  BOOL GetBase(int i, unsigned int& peak, unsigned char& a, unsigned char& c, unsigned char& g,
               unsigned char& t, char& base) const;

  // Sets the sample count, the analyzed scale factor and sample rate and a sample
  // size of 2; frees both sample arrays and makes a zeroed 16-bit array.
  int InitSampleSizeAndArray(unsigned int count, unsigned int analyzedScale, unsigned int analyzedRate);
  BOOL SetSample(int i, unsigned short a, unsigned short c, unsigned short g, unsigned short t);
  // Widens 1-byte samples; with a sample size other than 1 or 2 clears the outputs
  // and gives false.
  BOOL GetSample(int i, unsigned short& a, unsigned short& c, unsigned short& g,
                 unsigned short& t) const;

  int InitRawDataSizeAndArray(unsigned int count, unsigned int rawScale, unsigned int rawRate);
  BOOL SetRawData(int i, unsigned short v1, unsigned short v2, unsigned short v3, unsigned short v4);
  BOOL GetRawData(int i, unsigned short& v1, unsigned short& v2, unsigned short& v3,
                  unsigned short& v4) const;

  int InitCvtDataSizeAndArray(unsigned int count, unsigned int currentScale);
  BOOL SetCvtData(int i, unsigned char v1, unsigned char v2, unsigned char v3);
  BOOL GetCvtData(int i, unsigned char& v1, unsigned char& v2, unsigned char& v3) const;

  // Null clears the first byte; otherwise keeps at most 127 characters, zero-padded.
  void SetBarcode(const char* text);
  void SetSubjectID(const char* text);
  // Pointers into the object, valid while it lives and the field is unchanged.
  void GetBarcode(const char*& text) const { text = m_szBarcode; }
  void GetSubjectID(const char*& text) const { text = m_szSubjectID; }

  // Byte reversal at the file boundary: the file is big-endian whatever the host.
  static unsigned short ByteSwap(unsigned short v) { return static_cast<unsigned short>((v >> 8) | (v << 8)); }
  static unsigned int ByteSwap(unsigned int v) {
    return (v >> 24) | ((v >> 8) & 0xFF00u) | ((v << 8) & 0xFF0000u) | (v << 24);
  }

  // Delta coding of one channel, applied twice, wrapping at the value's width.
  static void DeltaEncode(unsigned short* samples, std::size_t n);
  static void DeltaDecode(unsigned short* samples, std::size_t n);
  static void DeltaEncode(unsigned char* samples, std::size_t n);
  static void DeltaDecode(unsigned char* samples, std::size_t n);

 private:
  void InitMemberData();
  BOOL ReadFile(const CString& path, bool statsOnly);
  void Parse(const BYTE* data, std::size_t size, bool statsOnly);
  void Serialize(std::vector<BYTE>& out);

  unsigned int m_nVersion = 300;
  CString m_strFileName;
  BOOL m_bStatusValid = FALSE;
  std::unique_ptr<CFileStatus> m_pFileStatus;
  ScfHeader m_Header;
  ScfPrivateHeader m_PrivateHeader;
  CString m_strBaseSequence;
  CString m_strCommentText;
  CStringList m_Comments{10};
  // Leaves the elements that resize adds uninitialised: the reader writes every one,
  // and the building calls fill theirs with zeros themselves.
  template <class T>
  struct FilledByCaller : std::allocator<T> {
    template <class U>
    struct rebind {
      using other = FilledByCaller<U>;
    };
    FilledByCaller() = default;
    template <class U>
    FilledByCaller(const FilledByCaller<U>&) {}
    template <class U>
    void construct(U* p) {
      ::new (static_cast<void*>(p)) U;
    }
    template <class U, class... Args>
    void construct(U* p, Args&&... args) {
      ::new (static_cast<void*>(p)) U(static_cast<Args&&>(args)...);
    }
  };

  // An empty vector stands for an absent array.
  std::vector<ScfBase, FilledByCaller<ScfBase>> m_Bases;
  std::vector<ScfSample1, FilledByCaller<ScfSample1>> m_Samples1;
  std::vector<ScfSample2, FilledByCaller<ScfSample2>> m_Samples2;
  std::vector<ScfRawData, FilledByCaller<ScfRawData>> m_RawData;
  std::vector<ScfCvtData> m_CvtData;
  // One byte more than the field, always NUL, so that a field read whole from a
  // file without a terminator still ends inside the object.
  char m_szBarcode[129];
  char m_szSubjectID[129];
};

}  // namespace zev
