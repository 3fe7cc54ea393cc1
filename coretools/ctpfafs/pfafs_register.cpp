// The registration of the location types of the system.
#include "coretools/ctpfa/pfa_std_location.h"
#include "coretools/ctpfafs/pfa_stdio.h"
#include "coretools/ctpfafs/pfafs_internal.h"

void pfa_register_std_filesystem() {
    pfa_loc_register_setup(PfaStdFilesystem);
    pfafs_register_parse_functions();
    pfafs_register_stream_functions();
    pfafs_register_rdwrt_functions();
    pfafs_register_dir_functions();
    pfafs_register_access_functions();
    pfafs_register_file_functions();
    pfa_loc_register_setup(NoLocation);
    pfa_stdio_register();
}
