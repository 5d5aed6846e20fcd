// All framework stand-ins and host services in one include.
#pragma once
#include "zevutil/platform/Types.h"
#include "zevutil/platform/CString.h"
#include "zevutil/platform/CObject.h"
#include "zevutil/platform/CException.h"
#include "zevutil/platform/CTime.h"
#include "zevutil/platform/CFile.h"
#include "zevutil/platform/CArchive.h"
#include "zevutil/platform/Collections.h"
#include "zevutil/platform/Sync.h"
#include "zevutil/platform/Host.h"
#include "zevutil/platform/Com.h"
#include "zevutil/platform/StringCompare.h"
