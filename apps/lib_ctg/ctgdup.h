// The report of members that the catalog cannot tell apart.
#pragma once

// Prints a warning for every pair of catalogued entries of sorted_list with one name and type.
void check_duplicates();
