// Zones: arenas whose memory is given back all at once.
#pragma once

int zone_open(int chunk_size);
void zone_empty(int zone);
void *zone_getmem(int zone, int size);
