// The input mode of the process: 0 at start; while it is 1, reports do not ask the user by default.
// Any thread may call.
#pragma once

int get_input_mode();
void set_input_mode(int mode);
