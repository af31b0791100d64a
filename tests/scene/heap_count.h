#pragma once

// Every heap block of a test program that links heap_count.cpp is counted, so that a refused
// read can be shown to free everything it made, in the Windows build too, where no leak
// checker runs.
namespace tstest {

long liveHeapBlocks();

}  // namespace tstest
