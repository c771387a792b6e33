// Gives back memory that only the start of the program needed, before the largest images are made.
#pragma once

namespace zelk {

/// Loading the picture libraries and all that they depend on touches tens of megabytes of symbol
/// and relocation tables, read-only pages of their files, and leaves free blocks in the heap. Both
/// leave the process here; a page that is needed again comes back from its file.
void releaseStartupMemory();

}  // namespace zelk
