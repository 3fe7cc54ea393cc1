// Memory-loop debugging: finds what a repeated operation never releases.
#pragma once

int get_in_debug_memory_loop();
void debug_memory_loop();
void debug_cancel_memory_loop();
