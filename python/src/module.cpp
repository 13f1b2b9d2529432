#include "io/UserError.h"
#include "src/Shutdown.h"
#include "src/bindings.h"

namespace nb = nanobind;

namespace segmask_python {

void setError(PyObject* type, const char* message) {
  const nb::object text = nb::steal(PyUnicode_DecodeFSDefault(message));
  if (text.is_valid()) PyErr_SetObject(type, text.ptr());
}

}  // namespace segmask_python

NB_MODULE(_native, module) {
  // A program may end with overlays that are still used; that is no fault of its author's.
  nb::set_leak_warnings(false);
  nb::register_exception_translator([](const std::exception_ptr& error, void*) {
    try {
      std::rethrow_exception(error);
    } catch (const segmask::UserError& user) {
      segmask_python::setError(PyExc_RuntimeError, user.what());
    }
  });
  module.attr("__version__") = SEGMASK_VERSION;
  segmask_python::Shutdown::install();
  segmask_python::bindMasks(module);
  segmask_python::bindDetections(module);
  segmask_python::bindOverlay(module);
  segmask_python::bindExplain(module);
  segmask_python::bindRender(module);
}
