#pragma once

#include <memory>
#include <vector>

#include "fuzz/Canvas.h"
#include "fuzz/FuzzInput.h"
#include "fuzz/delivery_builder.h"
#include "test_support/FrameContext.h"
#include "test_support/model/producers.h"
#include "zelvo/IRenderBackend.h"
#include "zelvo/ZelvoPicture.h"

struct CUstream_st;

/// A host with bad days: pictures that cannot be copied, mappings that are none, contexts in every state.
namespace fuzz {

using SharedPicture = std::shared_ptr<zelvo::ZelvoPicture>;

/// What the host's own code throws here.
struct CopyError {};
struct MapError {};

/// What comes of a host's copying a picture.
enum class Copy { impossible, nothing, error, emptyPicture, picture };

/// What comes of a mapping.
enum class Map {
  good,
  error,
  noLuma,
  noChroma,
  noLumaPitch,
  lumaPitchBelow0,
  noChromaPitch,
  chromaPitchBelow0
};

/// Maps whatever it is given to a canvas.
class Backend : public IRenderBackend {
 public:
  Mapping map(zelvo::RenderTarget& target) override;

  /// For the next pass.
  Map kind = Map::good;
  std::shared_ptr<Canvas> canvas;
  CUstream_st* stream = nullptr;

  unsigned maps = 0;
  std::weak_ptr<void> token;  ///< lives as long as the last mapping
};

/// Whether a pass can draw there.
bool areValid(const IRenderBackend::MappedPlanes& planes);

/// A context and everything that it points to.
struct HostContext : plugin_test::FrameContext {
  /// `pictures` keeps all that it makes, so that none ends, and calls the device, within a pass.
  HostContext(FuzzInput& input, std::vector<SharedPicture>& pictures);

  /// What a copy of the source gives, by the pool or else by the host's own function; throws CopyError.
  SharedPicture copied() const;

  Deliveries deliveries;
  bool sourceVanishes = false;  ///< while the payloads are resolved
  model::Producers producers;
  Copy poolCopy = Copy::impossible;
  Copy detachedCopy = Copy::impossible;
  SharedPicture picture;  ///< what a copy gives
  SharedPicture emptyPicture;
  std::shared_ptr<Canvas> canvas;  ///< where the context's planes lie
  std::weak_ptr<void> token;       ///< of the mapping that the context's guard holds

 private:
  void buildPicture(FuzzInput& input, std::vector<SharedPicture>& pictures);
  void buildResolver(FuzzInput& input);
  void buildProducers(FuzzInput& input);
};

}  // namespace fuzz
