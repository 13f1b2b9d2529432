#include "render_base/IRenderPlugin.h"

IRenderPlugin::~IRenderPlugin() = default;
