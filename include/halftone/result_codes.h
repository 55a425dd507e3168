// Result codes of the entry points.
//
// Every entry point and extension is noexcept: nothing is thrown across it.
// When memory runs out inside one, the call gives up and returns
// ERR_NO_MEMORY; a screen first clears the output it was given (every byte it
// would have written is 0) and holds no carried lines afterwards, so the next
// first band starts afresh. Otherwise screens return 0 and the loaders return
// the codes documented beside them.
#pragma once

enum : int {
  ERR_FILE_OPEN = 20101,
  ERR_FILE_READ = 20103,
  ERR_LOAD_FAULT = 20301,
  ERR_NO_MEMORY = 20302,
};
