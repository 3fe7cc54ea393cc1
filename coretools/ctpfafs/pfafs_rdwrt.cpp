// Reading and writing open files of the standard filesystem, and of each location type that keeps
// a stream block too.
#include "coretools/ctpfa/pfastream.h"
#include "coretools/ctpfafs/pfafs_internal.h"

#include <climits>
#include <cstring>

#include <unistd.h>

namespace {

int descriptor_getc(int fid) {
    unsigned char byte;
    return read(fid, &byte, 1) == 1 ? byte : EOF;
}

// A descriptor cannot keep a character. The one just read is put back by seeking to it.
int descriptor_ungetc(int fid, int character) {
    unsigned char byte;
    const off_t at = lseek(fid, 0, SEEK_CUR);
    if (at < 1 || pread(fid, &byte, 1, at - 1) != 1 || byte != character ||
        lseek(fid, at - 1, SEEK_SET) < 0) {
        return EOF;
    }
    return character;
}

int pfafs_fgetc(vek_file *record, void **data) {
    pfafs_stream *block = pfafs_stream_of(record, data);
    if (block == nullptr) {
        return -1;
    }
    return block->stream != nullptr ? std::getc(block->stream) : descriptor_getc(block->fid);
}

int pfafs_ungetc(vek_file *record, void **data, int character) {
    pfafs_stream *block = pfafs_stream_of(record, data);
    if (block == nullptr) {
        return -1;
    }
    return block->stream != nullptr ? std::ungetc(character, block->stream)
                                    : descriptor_ungetc(block->fid, character);
}

int pfafs_read_file(vek_file *record, void **data, void *buffer, int *count, int size) {
    pfafs_stream *block = pfafs_stream_of(record, data);
    if (block == nullptr || buffer == nullptr || count == nullptr || size < 0) {
        return PFA_E_INVALID_INPUT;
    }
    const std::size_t wanted = static_cast<std::size_t>(size);
    *count =
        static_cast<int>(block->stream != nullptr
                             ? static_cast<ssize_t>(std::fread(buffer, 1, wanted, block->stream))
                             : read(block->fid, buffer, wanted));
    if (*count < 0) {
        return PFA_E_ERROR;
    }
    return *count == 0 ? PFA_E_QUIT : PFA_E_NO_ERROR;
}

pfa_status buffered_gets(std::FILE *stream, char *line, int *length, int size) {
    if (std::fgets(line, size, stream) == nullptr) {
        line[0] = '\0';
        *length = 0;
        return std::feof(stream) != 0 ? PFA_E_QUIT : PFA_E_ERROR;
    }
    *length = static_cast<int>(std::strlen(line));
    return PFA_E_NO_ERROR;
}

// Reads a line byte by byte. Fails only if there is nothing to return.
pfa_status read_line_by_bytes(int fid, char *line, int *length, int size) {
    *length = 0;
    while (*length < size) {
        const ssize_t got = read(fid, line + *length, 1);
        if (got < 0 && *length == 0) {
            return PFA_E_ERROR;
        }
        if (got <= 0 || line[(*length)++] == '\n') {
            break;
        }
    }
    return PFA_E_NO_ERROR;
}

// Reads `size` bytes and seeks back over those that follow the first line feed.
pfa_status read_line_and_seek(int fid, char *line, int *length, int size) {
    const int got = static_cast<int>(read(fid, line, static_cast<std::size_t>(size)));
    if (got < 0) {
        return PFA_E_ERROR;
    }
    const void *newline = std::memchr(line, '\n', static_cast<std::size_t>(got));
    *length =
        newline != nullptr ? static_cast<int>(static_cast<const char *>(newline) - line) + 1 : got;
    return *length < got && lseek(fid, *length - got, SEEK_CUR) < 0 ? PFA_E_ERROR : PFA_E_NO_ERROR;
}

pfa_status descriptor_gets(int fid, char *line, int *length, int size) {
    const bool can_seek = lseek(fid, 0, SEEK_CUR) >= 0;
    const pfa_status result = can_seek ? read_line_and_seek(fid, line, length, size)
                                       : read_line_by_bytes(fid, line, length, size);
    if (result == PFA_E_NO_ERROR && *length < size) {
        line[*length] = '\0';
    }
    return result;
}

// At the end of the file a buffered stream returns PFA_E_QUIT, a descriptor PFA_E_NO_ERROR with
// length 0. A line that fills the buffer of a descriptor has no terminating zero.
int pfafs_fgets(vek_file *record, void **data, char *line, int *length, int size) {
    pfafs_stream *block = pfafs_stream_of(record, data);
    if (block == nullptr || line == nullptr || length == nullptr || size < 1) {
        return PFA_E_INVALID_INPUT;
    }
    return block->stream != nullptr ? buffered_gets(block->stream, line, length, size)
                                    : descriptor_gets(block->fid, line, length, size);
}

// `sync` does not flush the stream's own buffer first. Writing no bytes fails on a buffered stream
// and succeeds on a descriptor.
int pfafs_write_file(vek_file *record, void **data, const void *bytes, int size, int sync) {
    pfafs_stream *block = pfafs_stream_of(record, data);
    if (block == nullptr || size < 0 || (bytes == nullptr && size > 0)) {
        return PFA_E_INVALID_INPUT;
    }
    const std::size_t length = static_cast<std::size_t>(size);
    bool failed;
    int fid;
    if (block->stream != nullptr) {
        failed = std::fwrite(bytes, length, 1, block->stream) < 1;
        fid = fileno(block->stream);
    } else {
        failed = write(block->fid, bytes, length) < 0;
        fid = block->fid;
    }
    if (sync != 0 && fsync(fid) != 0) {
        failed = true;
    }
    return failed ? PFA_E_ERROR : PFA_E_NO_ERROR;
}

int pfafs_fputs(vek_file *record, void **data, const char *text) {
    pfafs_stream *block = pfafs_stream_of(record, data);
    if (block == nullptr || text == nullptr) {
        return PFA_E_INVALID_INPUT;
    }
    if (block->stream != nullptr) {
        return std::fputs(text, block->stream) < 0 ? PFA_E_CANT_WRITE : PFA_E_NO_ERROR;
    }
    const std::size_t length = std::strlen(text);
    if (length > INT_MAX) {
        return PFA_E_INVALID_INPUT;
    }
    return pfa_write_file(record, static_cast<int>(length), text);
}

// Both streams must be buffered. Returns PFA_E_NO_ERROR at the two bytes of the cookie, which are
// read but not copied, or at a zero byte; PFA_E_NOT_FOUND, with *end 1, at the end of the source.
int pfafs_copy_thru_cookie(vek_file *source, void **source_data, vek_file *target,
                           void **target_data, const void *cookie_bytes, int *end) {
    const auto *cookie = static_cast<const unsigned char *>(cookie_bytes);
    if (cookie == nullptr || end == nullptr) {
        return PFA_E_INVALID_INPUT;
    }
    *end = 0;
    const pfafs_stream *from = pfafs_stream_of(source, source_data);
    const pfafs_stream *to = pfafs_stream_of(target, target_data);
    if (from == nullptr || from->stream == nullptr || to == nullptr || to->stream == nullptr) {
        return PFA_E_INVALID_INPUT;
    }
    int pending = std::getc(from->stream);
    int next = pending == EOF ? EOF : std::getc(from->stream);
    while (next != 0 && next != EOF && (pending != cookie[0] || next != cookie[1])) {
        std::putc(pending, to->stream);
        pending = next;
        next = std::getc(from->stream);
    }
    // The source's error indicator may be an old one: only a read that did not end the file failed.
    const bool read_failed = next == EOF && std::feof(from->stream) == 0;
    if (std::ferror(to->stream) != 0 || read_failed) {
        return PFA_E_ERROR;
    }
    if (next != EOF) {
        return PFA_E_NO_ERROR;
    }
    if (pending != EOF && std::putc(pending, to->stream) == EOF) {
        return PFA_E_ERROR;
    }
    *end = 1;
    return PFA_E_NOT_FOUND;
}

int pfafs_flush_file(vek_file *record, void **data) {
    pfafs_stream *block = pfafs_stream_of(record, data);
    if (block == nullptr) {
        return PFA_E_INVALID_INPUT;
    }
    return block->stream != nullptr && std::fflush(block->stream) != 0 ? PFA_E_ERROR
                                                                       : PFA_E_NO_ERROR;
}

} // namespace

void pfafs_register_rdwrt_functions() {
    pfa_loc_method_register(PfaStdFilesystem, PfaFgetc, pfafs_fgetc);
    pfa_loc_method_register(PfaStdFilesystem, PfaUngetc, pfafs_ungetc);
    pfa_loc_method_register(PfaStdFilesystem, PfaReadFile, pfafs_read_file);
    pfa_loc_method_register(PfaStdFilesystem, PfaFgets, pfafs_fgets);
    pfa_loc_method_register(PfaStdFilesystem, PfaWriteFile, pfafs_write_file);
    pfa_loc_method_register(PfaStdFilesystem, PfaFputs, pfafs_fputs);
    pfa_loc_method_register(PfaStdFilesystem, PfaFlushFile, pfafs_flush_file);
    pfa_loc_method_register(PfaStdFilesystem, PfaCopyThruCookie, pfafs_copy_thru_cookie);
}
