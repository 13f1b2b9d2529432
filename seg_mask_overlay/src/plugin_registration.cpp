// Registers the factory that hosts find when they load the library. In a file of its own, so that the tests
// can link the class without it.

#include <class_loader/register_macro.hpp>
#include <iostream>

#include "seg_mask_overlay/SegMaskOverlayPlugin.h"
#include "zelvo/ZelvoPicture.h"

CLASS_LOADER_REGISTER_CLASS(SegMaskOverlayPlugin, IRenderPlugin)
