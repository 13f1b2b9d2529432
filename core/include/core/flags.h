#pragma once

#include <cstdint>

/// The flags that payloads of the host carry in a SwFlagSet. Nothing in this library acts on them.

/// How a text is laid out in its rectangle.
enum class DrawTextFormat : uint32_t {
  Left = 0x01,
  Right = 0x02,
  HorizontalCenter = 0x04,
  Top = 0x08,
  Bottom = 0x10,
  VerticalCenter = 0x20,
  WordWrap = 0x40,
};

/// How a window of the host's user interface is shown.
enum class WindowFlag : uint32_t {
  Frameless = 0x01,
  FixedSize = 0x02,
  StaysOnTop = 0x04,
  FullScreen = 0x08,
};

/// What a listing of a directory holds.
enum class EntryType : uint32_t {
  File = 0x01,
  Directory = 0x02,
  SymbolicLink = 0x04,
  Hidden = 0x08,
};
