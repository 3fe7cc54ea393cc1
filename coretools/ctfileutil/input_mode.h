// The input mode of the process.
#pragma once

int get_input_mode();
void set_input_mode(int mode);
