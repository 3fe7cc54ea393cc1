// Chunked arrays: chains of extensible arrays that hold more elements than one of them may.
//
// The top level is an extensible array of chunk handles; every chunk but the last is full, so that
// element i lies in chunk i / limit at offset i % limit. The elements of full chunks never move;
// those of the last may, whenever the array grows. Misuse and exhausted memory are handled as in
// xar.h; a jump to a trap frame leaves the array as it was and loses no memory. Not locked.
#pragma once

// Returns a new array of elements of `element_size` bytes, whose chunks grow by `step` elements, or
// by as many as 196608 bytes hold if those are fewer. Null without memory.
[[nodiscard]] void **har_alloc(int element_size, int step);
// Appends `count` elements from `source`, which must not lie in the array, or zero ones if that is
// null. Returns 1; 0, and nothing was appended, without memory.
int har_append(void ***top, int count, const void *source);
// Appends a zero element and returns its address; null without memory.
void *har_inflate(void ***top);
// Returns the address of element `index`, and stores its chunk and the offset there in the outputs
// that are not null. If there is no such element, returns null and stores -1.
void *har_access(void ***top, int index, int *chunk, int *offset);
// Releases the array and sets the handle to null. A null handle is allowed.
void har_free(void ***top);
