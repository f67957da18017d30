#pragma once

#ifdef _WIN32
#include "platform/windows/files.h"
#else
#include "platform/posix/files.h"
#endif

namespace kvx {

/// The real files of the system that the tests run on.
#ifdef _WIN32
using SystemFiles = platform::WindowsFiles;
#else
using SystemFiles = platform::PosixFiles;
#endif

}  // namespace kvx
