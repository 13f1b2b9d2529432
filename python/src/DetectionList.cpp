#include "src/DetectionList.h"

#include <memory>
#include <string>
#include <utility>

#include "core/SwJsonObject.h"
#include "core/SwJsonValue.h"
#include "host/compact_masks.h"
#include "io/UserError.h"
#include "src/bindings.h"

namespace nb = nanobind;

namespace segmask_python {
namespace {

constexpr char kProducer[] = "python";

// NOLINTBEGIN(misc-no-recursion): as deep as Python's own limit allows, see Nesting

/// Where a value stands, for errors: its parent's place and its own name or index. On the stack alone.
struct Place {
  const Place* parent;
  const char* name;
  std::size_t index;

  std::string text() const {
    const std::string above = parent ? parent->text() : "";
    if (!name) return above + "[" + std::to_string(index) + "]";
    return parent ? above + "[\"" + name + "\"]" : name;
  }
};

SwJsonValue valueOf(nb::handle object, const Place& place);

/// Keeps Python's own limit of nesting.
class Nesting {
 public:
  Nesting() {
    if (Py_EnterRecursiveCall(" in a detection") != 0) throw nb::python_error();
  }
  ~Nesting() { Py_LeaveRecursiveCall(); }
  Nesting(const Nesting&) = delete;
  Nesting& operator=(const Nesting&) = delete;
};

std::string textOf(nb::handle object, const Place& place) {
  Py_ssize_t size = 0;
  const char* const text = PyUnicode_AsUTF8AndSize(object.ptr(), &size);
  if (text) return {text, static_cast<std::size_t>(size)};
  PyErr_Clear();
  throw nb::value_error((place.text() + ": a text that is no Unicode").c_str());
}

SwJsonValue integerOf(nb::handle object, const Place& place) {
  int overflow = 0;
  const long long number = PyLong_AsLongLongAndOverflow(object.ptr(), &overflow);
  if (overflow != 0) throw nb::value_error((place.text() + ": an integer beyond 64 bits").c_str());
  return {number};
}

SwJsonValue objectOf(nb::handle dict, const Place& place) {
  SwJsonObject object;
  // A copy, because converting a member may run Python code, which may change the dict.
  const nb::object items = nb::steal(PyDict_Items(dict.ptr()));
  if (!items.is_valid()) throw nb::python_error();
  for (const nb::handle item : nb::borrow<nb::list>(items)) {
    const nb::handle key = PyTuple_GET_ITEM(item.ptr(), 0);
    if (!PyUnicode_Check(key.ptr())) {
      const std::string type = Py_TYPE(key.ptr())->tp_name;
      throw nb::type_error((place.text() + ": a name of type " + type + ", not str").c_str());
    }
    std::string name = textOf(key, place);
    const Place at{&place, name.c_str(), 0};
    SwJsonValue value = valueOf(PyTuple_GET_ITEM(item.ptr(), 1), at);
    object.insert(std::move(name), std::move(value));
  }
  return {std::move(object)};
}

SwJsonArray arrayOf(nb::handle sequence, const Place& place) {
  // A copy of the references, for the reason above.
  const nb::object elements = nb::steal(PySequence_Tuple(sequence.ptr()));
  if (!elements.is_valid()) throw nb::python_error();
  const auto count = static_cast<std::size_t>(PyTuple_GET_SIZE(elements.ptr()));
  SwJsonArray array;
  array.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    const Place at{&place, nullptr, i};
    array.append(valueOf(PyTuple_GET_ITEM(elements.ptr(), static_cast<Py_ssize_t>(i)), at));
  }
  return array;
}

/// Of a NumPy scalar or array, and what is like them.
SwJsonValue listedOf(nb::handle object, const Place& place) {
  if (PyObject_HasAttrString(object.ptr(), "tolist") == 0) {
    const std::string type = Py_TYPE(object.ptr())->tp_name;
    throw nb::type_error((place.text() + ": a value of type " + type + ", which JSON does not have").c_str());
  }
  return valueOf(object.attr("tolist")(), place);
}

SwJsonValue valueOf(nb::handle object, const Place& place) {
  const Nesting nesting;
  PyObject* const pointer = object.ptr();
  if (object.is_none()) return {};
  if (PyBool_Check(pointer)) return {pointer == Py_True};
  if (PyLong_Check(pointer)) return integerOf(object, place);
  if (PyFloat_Check(pointer)) return {PyFloat_AS_DOUBLE(pointer)};
  if (PyUnicode_Check(pointer)) return {textOf(object, place)};
  if (PyDict_Check(pointer)) return objectOf(object, place);
  if (PyList_Check(pointer) || PyTuple_Check(pointer)) return {arrayOf(object, place)};
  return listedOf(object, place);
}

// NOLINTEND(misc-no-recursion)

}  // namespace

SwJsonArray detectionArray(nb::handle detections) {
  if (!PyList_Check(detections.ptr()) && !PyTuple_Check(detections.ptr())) {
    const std::string type = Py_TYPE(detections.ptr())->tp_name;
    throw nb::type_error(("detections: a " + type + ", where a list of dicts has to be").c_str());
  }
  return arrayOf(detections, {nullptr, "detections", 0});
}

segmask::DetectionLine detectionLine(nb::handle detections, uint64_t frame, render_base::FrameSize size) {
  SwJsonArray array = detectionArray(detections);
  int64_t maskPixels = 0;  // a frame has one list
  try {
    segmask::expandCompactMasks(array, size, maskPixels);
  } catch (const segmask::UserError& error) {
    throw nb::value_error(error.what());
  }
  segmask::DetectionLine line;
  line.frame = frame;
  line.producer = kProducer;
  line.detections = array.size();
  line.lineNumber = frame + 1;
  SwJsonObject payload;
  payload.insert("detections", std::move(array));
  line.payload.object = std::make_shared<const SwJsonObject>(std::move(payload));
  return line;
}

void bindDetections(nb::module_& module) {
  module.def(
      "check", [](nb::handle detections) { detectionArray(detections); }, nb::arg("detections").none(),
      "Throws what a list of detections that is none throws.");
}

}  // namespace segmask_python
