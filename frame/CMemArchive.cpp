// CMemArchive: an archive whose file is a growing block of memory.
#include "zevutil/CMemArchive.h"

#include <cstdlib>
#include <cstring>

namespace zev {

void CMemArchiveFile::AttachOwned(BYTE* buffer, UINT size, UINT growBytes) {
  if (m_lpBuffer && m_bAutoDelete && m_lpBuffer != buffer) Free(m_lpBuffer);
  m_lpBuffer = nullptr;
  CMemFile::Attach(buffer, buffer ? size : 0, 0);  // grow step 0 keeps the data's length
  m_nGrowBytes = growBytes;
  m_bAutoDelete = TRUE;
}

CMemArchive::CMemArchive(UINT mode) : CArchive(m_pMemFile.get(), mode, 4096) {}

CMemArchive::~CMemArchive() {
  // The data goes with the memory file, so nothing is flushed into it first.
  Abort();
}

void CMemArchive::ResetWindow() {
  BYTE* base = m_pMemFile->GetBufferStart();
  BYTE* at = base ? base + m_pMemFile->GetPosition() : nullptr;
  m_lpBufStart = m_lpBufCur = m_lpBufMax = at;
}

void CMemArchive::Settle() const {
  auto* self = const_cast<CMemArchive*>(this);
  BYTE* base = m_pMemFile->GetBufferStart();
  // The window is trusted only while it lies in the memory file's current buffer.
  bool inBuffer = base && m_lpBufStart && m_lpBufCur && m_lpBufMax && m_lpBufStart >= base &&
                  m_lpBufStart <= m_lpBufCur && m_lpBufCur <= m_lpBufMax;
  if (inBuffer) {
    if (IsStoring()) {
      if (m_lpBufCur > m_lpBufStart)
        m_pMemFile->GetBufferPtr(CFile::bufferCommit, UINT(m_lpBufCur - m_lpBufStart));
    } else if (m_lpBufMax > m_lpBufCur) {
      m_pMemFile->Seek(-LONGLONG(m_lpBufMax - m_lpBufCur), CFile::current);  // give back what was not read
    }
  }
  self->ResetWindow();
}

void CMemArchive::PositionForMode() {
  if (IsLoading())
    m_pMemFile->SeekToBegin();
  else
    m_pMemFile->SeekToEnd();
  ResetWindow();
}

CMemArchive& CMemArchive::SetMode(int mode) {
  bool toLoading = (UINT(mode) & load) != 0;
  if (toLoading == bool(IsLoading())) {
    m_nMode = UINT(mode);
    return *this;
  }
  Settle();
  m_nMode = UINT(mode);
  PositionForMode();
  return *this;
}

void CMemArchive::SetData(const unsigned char* data, ULONG size) {
  Settle();
  if (size == 0) return;
  if (!data) AfxThrowInvalidArgException();
  auto* copy = static_cast<BYTE*>(std::malloc(size));
  if (!copy) AfxThrowMemoryException();
  std::memcpy(copy, data, size);
  m_pMemFile->AttachOwned(copy, size, 1024);
  PositionForMode();
}

void CMemArchive::Attach(unsigned char* data, ULONG size) {
  Settle();
  m_pMemFile->AttachOwned(data, size, 0);
  PositionForMode();
}

ULONG CMemArchive::GetDataSize() const {
  Settle();
  return ULONG(m_pMemFile->GetLength());
}

const BYTE* CMemArchive::GetDataPtr() const {
  Settle();
  return m_pMemFile->GetBufferStart();
}

ULONG CMemArchive::GetData(CByteArray& out) const {
  ULONG size = GetDataSize();
  out.SetSize(INT_PTR(size));
  if (size) std::memcpy(out.GetData(), GetDataPtr(), size);
  return size;
}

ULONG CMemArchive::GetSizeOfDataRemaining() {
  ULONG size = GetDataSize();
  const BYTE* base = GetDataPtr();
  // After settling, the current pointer is the file's position in its buffer.
  ULONG used = (base && m_lpBufCur >= base) ? ULONG(m_lpBufCur - base) : 0;
  return used < size ? size - used : 0;
}

CCalcCRC32 CMemArchive::GetCRC() const {
  CCalcCRC32 crc(0xFFFFFFFF);
  ULONG size = GetDataSize();
  if (size) crc.CalcBlock(GetDataPtr(), size);
  return crc;
}

BOOL CMemArchive::operator==(const CMemArchive& other) const {
  ULONG size = GetDataSize();
  if (size != other.GetDataSize()) return FALSE;
  return size == 0 || std::memcmp(GetDataPtr(), other.GetDataPtr(), size) == 0;
}

CMemArchive& CMemArchive::operator=(const CMemArchive& other) {
  if (this == &other) return *this;
  // kept: data of size 0 changes nothing (SetData), so assigning an empty archive
  // leaves this one's data as it was.
  SetData(other.GetDataPtr(), other.GetDataSize());
  SetMode(int(other.m_nMode));
  return *this;
}

}  // namespace zev
