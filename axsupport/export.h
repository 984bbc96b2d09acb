// Marks the functions and classes that other modules of the host may import.
#pragma once

#define NK_EXPORT __declspec(dllexport)
