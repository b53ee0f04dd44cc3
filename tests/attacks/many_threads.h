// Whether the library's units can be put back to what they are after loading.
//
// Room: tests. Defined twice: for the objects of the library, whose units are in reach, and for the
// library as it ships, where a process has one first call.
#pragma once

// False where they cannot.
bool reset_units();
