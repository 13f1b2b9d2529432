#pragma once

#include "core/SwAny.h"
#include "core/SwJsonObject.h"
#include "core/export.h"

namespace render_payload {

/// The payload as a JSON object: the object it holds, else what a registered conversion to SwJsonObject makes
/// of it, else its text form (six significant digits) parsed as JSON. A way that leads to an empty object
/// hands over to the text form. An empty object, without any message, if none leads anywhere.
///
/// Throws std::runtime_error in two cases: "Null storage in SwAny::get" if there is no value behind the name
/// of a payload that is read (an SwJsonObject, an SwString, whatever a conversion takes), or behind that of
/// what a conversion yields; "Type mismatch in SwAny::get" if a conversion yields another type than its own.
/// Passes on what a conversion throws, and std::bad_alloc. Consults the registries of SwAny and follows its
/// thread rules.
SW_CORE_EXPORT SwJsonObject anyToJsonObject(const SwAny& payload);

/// The same of a payload that is not needed any more: an object that it holds is taken out of it, not copied.
SW_CORE_EXPORT SwJsonObject anyToJsonObject(SwAny&& payload);

}  // namespace render_payload
