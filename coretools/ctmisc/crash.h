// The unconditional end of the process.
#pragma once

int crash();
void set_vek_debug_switch(int on);
