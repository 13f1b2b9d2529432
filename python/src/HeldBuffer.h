#pragma once

#include <Python.h>

#include <cstddef>

namespace segmask_python {

/// The bytes of a two-dimensional Python array, held: its memory neither moves nor goes while this object
/// lives. To be made and destroyed with the GIL; the bytes may be used without it.
class HeldBuffer {
 public:
  enum class Access { Read, Write };

  /// `name` is what errors call the array. Throws TypeError for an object that is no array of uint8,
  /// ValueError for one that is not two-dimensional, that is empty, whose rows have gaps between their items,
  /// that has more than 2^31 - 1 rows or columns, or that cannot be written where it has to be.
  HeldBuffer(PyObject* object, const char* name, Access access);
  ~HeldBuffer();
  HeldBuffer(const HeldBuffer&) = delete;
  HeldBuffer& operator=(const HeldBuffer&) = delete;

  int rows() const { return static_cast<int>(view_.shape[0]); }
  int columns() const { return static_cast<int>(view_.shape[1]); }

  /// Bytes from one row to the next; may be negative.
  std::ptrdiff_t stride() const { return view_.strides[0]; }

  unsigned char* bytes() const { return static_cast<unsigned char*>(view_.buf); }

 private:
  void check(const char* name) const;

  Py_buffer view_{};
};

}  // namespace segmask_python
