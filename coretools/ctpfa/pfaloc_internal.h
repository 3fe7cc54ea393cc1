// What the layer itself asks of the location registry.
#pragma once

// Creates the registry if there is none yet: the only memory that registering needs. Returns false
// if memory is exhausted.
bool pfaloc_create_registry();
