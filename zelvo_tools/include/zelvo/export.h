#pragma once

/// Marks what libZelvoTools.so offers; everything else in it is hidden.
#define ZELVO_EXPORT __attribute__((visibility("default")))

/// Marks what each library keeps a private copy of, although its class is exported.
#define ZELVO_LOCAL __attribute__((visibility("hidden")))
