// Chunked arrays: chains of extensible arrays that hold more than one of them may.
#pragma once

void **har_alloc(int element_size, int step);
void har_append(void ***top, int count, const void *source);
void *har_inflate(void ***top);
void *har_access(void ***top, int index, int *chunk, int *offset);
void har_free(void ***top);
