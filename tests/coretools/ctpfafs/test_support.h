// Open files, for the tests of this folder.
#pragma once

#include "coretools/ctpfa/pfacomponent.h"
#include "coretools/ctpfa/pfaloc_call.h"
#include "coretools/ctpfa/pfamem.h"
#include "coretools/ctpfa/pfapars.h"
#include "coretools/ctpfa/pfastream.h"
#include "tests/support/child_process.h"
#include "tests/support/path_records.h"
#include "tests/support/scratch_tree.h"

#include <filesystem>

#include <fcntl.h>
#include <gtest/gtest.h>

using texts = std::vector<std::string>;

using record = scoped_record;

struct stream : record {
    using record::scoped_record;

    // Buffered or at the descriptor; like pfa_fopen it marks the record as open.
    int open(bool buffered, bool write, int version = 0) {
        char name[PFA_PATH_SIZE] = "";
        const int flags = write ? O_WRONLY | O_CREAT | O_TRUNC : O_RDONLY;
        const int result = buffered
                               ? pfaloc_call_FLPPI(file, PfaFopen, name, write ? "w" : "r", version)
                               : pfaloc_call_FLPIII(file, PfaOpen, name, flags, 0644, version);
        file->flags |= result == PFA_E_NO_ERROR ? PFA_F_OPEN : pfa_flag(0);
        return result;
    }
    int call(int method) { return pfaloc_call_FL(file, method); }
    int call(int method, const void *with) { return pfaloc_call_FLP(file, method, with); }
    int seek(int to) { return call(PfaSetFilePosition, &to); }
    static constexpr int UNKNOWN_POSITION = -1;
    int tell() {
        int position = 0;
        return call(PfaGetFilePosition, &position) == PFA_E_NO_ERROR ? position : UNKNOWN_POSITION;
    }
    int write(const char *bytes, int size, int sync = 0) {
        return pfaloc_call_FLPII(file, PfaWriteFile, bytes, size, sync);
    }
    // What was read, behind the name of the status unless that is PFA_E_NO_ERROR.
    std::string read(int method, int size = 16) {
        char buffer[17] = "";
        int length = 0;
        const int result = pfaloc_call_FLPPI(file, method, buffer, &length, size);
        const std::string status = result == PFA_E_NO_ERROR ? "" : pfa_error_to_string(result);
        return status + std::string(buffer, static_cast<std::size_t>(length));
    }
};
