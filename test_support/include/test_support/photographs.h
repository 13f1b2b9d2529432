#pragma once

#include <cstdint>
#include <map>
#include <string>

// Photographs with the masks that people drew on them, in the COCO data set's format. They are not part of
// the project: they lie beside it, in ../shared/data, or where SEG_MASK_DATA says.

/// The file of the annotations. It may not be there.
std::string photographAnnotations();

/// By an annotation's number the textDigest of its mask's text, as the COCO data set's own tools give the
/// mask.
std::map<int64_t, uint64_t> photographMaskDigests();

/// FNV-1a, 64 bits.
uint64_t textDigest(const std::string& text);
