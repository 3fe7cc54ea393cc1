// Chunked arrays: chains of extensible arrays that hold more elements than one of them may.
//
// The top level is an extensible array of chunk handles; every chunk but the last is full, so that
// element i lies in chunk i / limit at offset i % limit. Elements never move once their chunk is
// full; the last chunk moves as it grows. Misuse and exhausted memory are reported as in xar.h;
// where such a report returns or unwinds, the elements are as they were. Not locked.
#pragma once

// A new chunked array of elements of element_size bytes whose chunks grow by step elements, fewer
// when that many would exceed 196608 bytes. Null without memory.
[[nodiscard]] void **har_alloc(int element_size, int step);
// Appends count elements copied from source, or zero ones when source is null. The source may not
// lie in the same array. 1, or 0 when there is no memory and nothing was appended.
int har_append(void ***top, int count, const void *source);
// Appends one zero element and answers it; null without memory.
void *har_inflate(void ***top);
// The element at index and, in the outputs that are not null, its chunk and the offset in it. Null
// and -1 in the outputs when there is no such element or no array.
void *har_access(void ***top, int index, int *chunk, int *offset);
// Releases all chunks and the top level and sets the handle to null. No array is no error.
void har_free(void ***top);
