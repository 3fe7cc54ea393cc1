// Start-up objects of the string buffers.
#include "basictk/baselib/inc/btkStartUp.h"

#include <algorithm>
#include <iterator>

thrMutex *btkXZStringMutex = nullptr;
char emptyCSBuffInitializer[4];
int emptyWSBuffInitializer[1];

void start_widfun() {
    std::fill(std::begin(emptyCSBuffInitializer), std::end(emptyCSBuffInitializer), '\0');
    std::fill(std::begin(emptyWSBuffInitializer), std::end(emptyWSBuffInitializer), 0);
    btkXZStringMutex = new thrMutex(thrMutexNormal);
    btkRecordOwned<btkXZStringMutex>();
}
