// The stdio location: the process's standard streams by name.
#pragma once

void pfa_stdio_register();
