// The input mode of the process: 0 at start; 1 keeps reports from asking the user anything.
#pragma once

int get_input_mode();
void set_input_mode(int mode);
