#pragma once

#include <string>
#include <vector>

#include "render_base/IRenderPlugin.h"
#include "render_base/RenderProducerTypeView.h"

/// The base class of all render plug-ins.
class RenderBase : public IRenderPlugin {
 public:
  /// One requirement for each of input_types(), in that order, duplicates kept, with the flag false.
  std::vector<RenderInputRequirement> input_requirements() const override;

  /// The producers of one payload type in this context, with their inputs and merged reports.
  ///
  /// Computed at the first call for a context and type and kept in the context from then on, whatever happens
  /// to the context's lists later. Takes no lock: not to be called at the same time for one context.
  static const RenderProducerTypeView& producerTypeView(const RenderContext& ctx, const std::string& type);
};
