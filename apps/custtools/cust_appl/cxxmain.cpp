// The process entry.
#include "apps/lib_ctg/ctgmain.h"

int main(int argc, char **argv) {
    cxx_main(argc, argv);
}
