// CPaletteMerge: loads up to 50 bitmaps and merges their colours into one identity palette.
#include "zevutil/CDib.h"

namespace zev {

CPaletteMerge::~CPaletteMerge() { Clear(); }

void CPaletteMerge::Clear() {
  if (m_ppDibs)
    for (int i = 0; i < m_nBitmaps; ++i) delete m_ppDibs[i];
  delete[] m_ppDibs;
  delete[] m_pResults;
  delete m_pPalette;
  m_ppDibs = nullptr;
  m_pResults = nullptr;
  m_pPalette = nullptr;
  m_nBitmaps = 0;
}

BOOL CPaletteMerge::InitIdentityPalette() {
  Clear();
  m_ppDibs = new CDib*[kMaxBitmaps]();
  m_pResults = new PalMergeResult[kMaxBitmaps]();
  m_pPalette = new CDibPal;
  m_nBitmaps = 0;
  if (!m_pPalette->CreateEmptyIdentityPalette()) {
    Clear();
    return FALSE;
  }
  return TRUE;
}

BOOL CPaletteMerge::AddLoaded(CDib* dib) {
  m_pPalette->MergeDibPalette(dib, &m_pResults[m_nBitmaps]);
  m_ppDibs[m_nBitmaps++] = dib;
  return TRUE;
}

BOOL CPaletteMerge::AddBitmaps(const char** paths, int count) {
  if (!m_pPalette && !InitIdentityPalette()) return FALSE;
  if (!paths || count <= 0) return FALSE;
  for (int i = 0; i < count && m_nBitmaps < kMaxBitmaps; ++i) {
    auto* dib = new CDib;
    if (!paths[i] || !dib->Load(paths[i])) {
      delete dib;
      return FALSE;
    }
    AddLoaded(dib);
  }
  return TRUE;
}

BOOL CPaletteMerge::AddBitmaps(unsigned int* resources, int count) {
  if (!m_pPalette && !InitIdentityPalette()) return FALSE;
  if (!resources || count <= 0) return FALSE;
  for (int i = 0; i < count && m_nBitmaps < kMaxBitmaps; ++i) {
    auto* dib = new CDib;
    if (!dib->LoadResource(resources[i])) {
      delete dib;
      return FALSE;
    }
    AddLoaded(dib);
  }
  return TRUE;
}

}  // namespace zev
