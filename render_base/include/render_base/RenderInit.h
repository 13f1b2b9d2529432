#pragma once

class IRenderBackend;

/// The data that a host passes to a plug-in before the first frame.
struct RenderInit {
  /// Not owned; must outlive every render call that follows. Null leaves the plug-in inert.
  IRenderBackend* backend = nullptr;
};
