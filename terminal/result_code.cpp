#include "terminal/result_code.h"

namespace flowscope {

const char* resultMessage(ResultCode code) {
  switch (code) {
    case ResultOk:
    case ResultSilent:
    case ResultQuit:
      return nullptr;
    case ResultUnknownError:
      return "ERROR: UnknownError";
    case ResultNotFound:
      return "ERROR: NotFound";
    case ResultOptionError:
      return "ERROR: OptionError";
    case ResultOpenFileError:
      return "ERROR: OpenFileError";
    case ResultConnectError:
      return "ERROR: ConnectError";
    case ResultOutOfMemory:
      return "ERROR: OutOfMemory";
    case ResultFileExists:
      return "ERROR: FileExists";
    case ResultBadArgument:
      return "ERROR: Bad Argument";
    default:
      // The small letter distinguishes an undefined code from ResultUnknownError.
      return "ERROR: unknownError";
  }
}

}  // namespace flowscope
