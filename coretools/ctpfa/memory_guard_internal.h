// Runs work of the layer that must not be left half done when memory runs out.
#pragma once

// Calls body(argument). Exhausted memory in it does not jump to a trap frame of the caller's but
// makes this return false; whatever the body holds then must be reachable through `argument`.
// Returns false without calling the body if there is no memory for the guard.
bool pfa_call_guarded(void (*body)(void *), void *argument);
