// ZevUtil: every public header of the library. Everything is in namespace zev.
#pragma once

// Framework stand-ins and host services.
#include "zevutil/platform/Platform.h"

// Library frame: load/unload, report stream, archive forms, memory archive, checksum.
#include "zevutil/CCalcCRC32.h"
#include "zevutil/VqeReportStream.h"
#include "zevutil/CMemArchive.h"
#include "zevutil/CComDLL.h"

// Object identity.
#include "zevutil/CObSeq.h"
#include "zevutil/IPersistence.h"
#include "zevutil/CObSeqID.h"
#include "zevutil/CZevVersionID.h"
#include "zevutil/CObSeqIDList.h"

// Persistent objects.
#include "zevutil/CObjHeader.h"
#include "zevutil/TIUnknown.h"
#include "zevutil/CComSmartPtr.h"
#include "zevutil/ObjEscrow.h"
#include "zevutil/CBaseOgramData.h"
#include "zevutil/PropPages.h"

// Sequence and run-data model.
#include "zevutil/CBaseSequence.h"
#include "zevutil/CCalledBase.h"
#include "zevutil/CChannelDef.h"
#include "zevutil/CChannelIDList.h"
#include "zevutil/ContaminantMatch.h"
#include "zevutil/IUBCODE.h"
#include "zevutil/CDataArray.h"
#include "zevutil/CInstrumentCalib.h"
#include "zevutil/CGraphicsInfoArray.h"

// Codecs and utilities.
#include "zevutil/CBitVector.h"
#include "zevutil/VqDictionary.h"
#include "zevutil/VqDataCompressor.h"
#include "zevutil/CRegistryValue.h"
#include "zevutil/SafeString.h"
#include "zevutil/CZevDateTime.h"
#include "zevutil/CxFilePath.h"
#include "zevutil/SysProcessChk.h"
#include "zevutil/CRegExp.h"
#include "zevutil/CDynVariable.h"

// Trace-file formats.
#include "zevutil/CScf.h"
#include "zevutil/CEsd.h"
#include "zevutil/CCrv.h"
#include "zevutil/CAbi.h"

// Output and export.
#include "zevutil/COutputDef.h"
#include "zevutil/COutputInfo.h"
#include "zevutil/CPrintHandler.h"
#include "zevutil/CPrintObject.h"
#include "zevutil/COutputObject.h"
#include "zevutil/CBaseSequenceOutputObject.h"
#include "zevutil/CObjHeaderOutput.h"
#include "zevutil/CBaseImpOutputObject.h"
#include "zevutil/TransferFileChooser.h"
#include "zevutil/DialogModelWindow.h"

// Export option dialogs.
#include "zevutil/CZevDirectoryDialog.h"
#include "zevutil/CExportObjectDialog.h"
#include "zevutil/CZevExportDlg.h"

// Window toolkit.
#include "zevutil/platform/Wnd.h"
#include "zevutil/platform/FileChooser.h"
#include "zevutil/platform/WindowImage.h"
#include "zevutil/platform/WindowMessageBox.h"
#include "zevutil/CWinHookBase.h"
#include "zevutil/CIdleHook.h"
#include "zevutil/CDialogAssistant.h"
#include "zevutil/CDib.h"
#include "zevutil/CDialog.h"
#include "zevutil/CFlexMessageBox.h"
#include "zevutil/CZevDlg.h"
#include "zevutil/CPrintStatusDlg.h"
