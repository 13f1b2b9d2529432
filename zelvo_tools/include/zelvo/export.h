#pragma once

/// Marks the exported symbols of libZelvoTools.so; all others are hidden.
#define ZELVO_EXPORT __attribute__((visibility("default")))

/// Marks a member of an exported class of which each library keeps a private copy.
#define ZELVO_LOCAL __attribute__((visibility("hidden")))
