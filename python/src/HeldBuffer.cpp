#include "src/HeldBuffer.h"

#include <nanobind/nanobind.h>
#include <nanobind/stl/string.h>

#include <limits>
#include <string>

namespace nb = nanobind;

namespace segmask_python {
namespace {

/// "(2, 3)" and the like.
std::string shapeText(const Py_buffer& view) {
  std::string text;
  for (int i = 0; i < view.ndim; ++i) text += (i > 0 ? ", " : "") + std::to_string(view.shape[i]);
  return "(" + text + (view.ndim == 1 ? ",)" : ")");
}

/// What its items are, as its author has named them.
std::string itemsText(const Py_buffer& view, const std::string& format) {
  const nb::handle array(view.obj);
  if (!nb::hasattr(array, "dtype")) return "its items have the format '" + format + "'";
  const nb::object dtype = array.attr("dtype");
  return "its dtype is " + nb::cast<std::string>(nb::str(dtype));
}

/// The message of the Python error that is set, which is cleared.
std::string takeMessage() {
  const nb::python_error error;
  return nb::cast<std::string>(nb::str(error.value()));
}

}  // namespace

HeldBuffer::HeldBuffer(PyObject* object, const char* name, Access access) {
  const std::string prefix = std::string(name) + ": ";
  if (PyObject_CheckBuffer(object) == 0) {
    throw nb::type_error((prefix + "a " + Py_TYPE(object)->tp_name + " is no array").c_str());
  }
  const int flags = PyBUF_STRIDES | PyBUF_FORMAT | (access == Access::Write ? PyBUF_WRITABLE : 0);
  if (PyObject_GetBuffer(object, &view_, flags) != 0) throw nb::value_error((prefix + takeMessage()).c_str());
  try {
    check(name);
  } catch (...) {
    PyBuffer_Release(&view_);
    throw;
  }
}

HeldBuffer::~HeldBuffer() {
  PyBuffer_Release(&view_);
}

void HeldBuffer::check(const char* name) const {
  const std::string prefix = std::string(name) + ": ";
  const std::string format = view_.format ? view_.format : "B";
  if (format != "B") throw nb::type_error((prefix + itemsText(view_, format) + ", not uint8").c_str());
  const std::string shape = prefix + "its shape " + shapeText(view_);
  if (view_.ndim != 2) throw nb::value_error((shape + " is not (rows, columns)").c_str());
  constexpr Py_ssize_t kMost = std::numeric_limits<int>::max();
  for (int i = 0; i < 2; ++i) {
    if (view_.shape[i] < 1 || view_.shape[i] > kMost) throw nb::value_error((shape + " has no use").c_str());
  }
  if (view_.strides[1] != 1 && view_.shape[1] > 1) {
    const std::string stride = std::to_string(view_.strides[1]);
    throw nb::value_error((prefix + "its columns are " + stride + " bytes apart, not 1").c_str());
  }
}

}  // namespace segmask_python
