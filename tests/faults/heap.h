#ifndef VELKOR_TESTS_FAULTS_HEAP_H
#define VELKOR_TESTS_FAULTS_HEAP_H

/// The program's heap, watched: malloc and its kin are the test's own, which count, and fail when
/// they are told to. operator new and Qt's containers stand on them. Not with the sanitizers, whose
/// heap it would be: there LeakSanitizer looks for what is not given back.

namespace heap {

/// Blocks that have been handed out and not given back, by all of the process.
long blocks();

/// From now on the n-th allocation of this thread finds no memory; the others do. 0: none fails.
void failAllocation(long n);
/// Ends it. The result is how many more would have been needed; 0: there has been an n-th one.
long stopFailing();

} // namespace heap

#endif
