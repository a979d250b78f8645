#pragma once

/// @file
/// The whole interface of the library.

#include "kvtfile/AutoLoadArx.h"
#include "kvtfile/CadHost.h"
#include "kvtfile/DataPath.h"
#include "kvtfile/FileBase.h"
#include "kvtfile/FileInfo.h"
#include "kvtfile/FileUtil.h"
#include "kvtfile/IniFile.h"
#include "kvtfile/LogFile.h"
#include "kvtfile/Registry.h"
#include "kvtfile/ShellFileOp.h"
#include "kvtfile/SupportPath.h"
#include "kvtfile/XmlCfg.h"
#include "kvtfile/XmlFile.h"
#include "kvtfile/types.h"
