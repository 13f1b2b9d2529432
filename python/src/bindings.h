#pragma once

#include <nanobind/nanobind.h>

namespace segmask_python {

/// Sets the Python error `type` with that message, in which names of files may be bytes that are no UTF-8.
void setError(PyObject* type, const char* message);

// The parts of the module `_native`, one file each. The Python files of the package are its only users: they
// check what is checked more easily there, and have the docstrings.

void bindMasks(nanobind::module_& module);
void bindDetections(nanobind::module_& module);
void bindOverlay(nanobind::module_& module);
void bindExplain(nanobind::module_& module);
void bindRender(nanobind::module_& module);

}  // namespace segmask_python
