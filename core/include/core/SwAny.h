#pragma once

#include <cstddef>
#include <cstring>
#include <functional>
#include <map>
#include <new>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <vector>

#include "core/SwJsonArray.h"
#include "core/SwJsonObject.h"
#include "core/SwJsonValue.h"
#include "core/SwString.h"
#include "core/export.h"

namespace sw_any {

template <typename T, typename... Others>
constexpr bool isOneOf() {
  return (std::is_same_v<T, Others> || ...);
}

/// The types whose values live inside an SwAny and need no registration. A `const char*` is the pointer
/// alone: the bytes stay the caller's.
template <typename T>
constexpr bool isInlineKind() {
  return isOneOf<T, bool, int, long, float, double, unsigned int, unsigned long, const char*, std::string,
                 std::vector<unsigned char>>();
}

template <typename T>
constexpr bool convertsImplicitly() {
  return isInlineKind<T>() || isOneOf<T, SwString, SwJsonValue, SwJsonObject, SwJsonArray>();
}

/// The run-time name of type T without a leading '*'.
template <typename T>
const char* typeName() noexcept {
  const char* name = typeid(T).name();
  return *name == '*' ? name + 1 : name;
}

}  // namespace sw_any

/// One value of any type, together with the type's run-time name, and a process-wide registry of conversions.
///
/// Values of the inline kinds above are held in place. Values of any other type, a meta type, live on the
/// heap and need the type to be registered; the library registers SwString, the JSON types, SwJsonDocument,
/// std::vector<std::string>, SwList<unsigned char> and SwFlagSet of the enumerations in core/flags.h. A value
/// of a type that nobody has registered keeps its name and owns nothing: data() is null and get() throws.
///
/// A value is owned by its SwAny and copied deeply. A moved-from SwAny is empty, and so is one made by
/// default.
///
/// The library's own conversions:
///
/// - Between SwString and each of int, unsigned int, long, unsigned long, float, double and bool. To text,
///   numbers are decimal, a float with ten significant digits and a double with fifteen. From text, int,
///   float and double are SwString's toInt, toFloat and toDouble, with their messages. The others give 0 for
///   what is no number, silently: long takes what strtoll does (white space first, hexadecimal after "0x",
///   octal after "0"; bytes after the number are ignored), the unsigned ones trim first and give 0 if a '-'
///   leads. Only "true" is true.
/// - Between SwString and std::string; from `const char*`, up to its NUL, to SwString; and from SwString to
///   the address of a shared buffer, as `const char*` (see Threads).
/// - Between SwString and std::vector<std::string>: joined with "," and split at ','.
/// - From SwString to std::vector<unsigned char>, all bytes; to SwList<unsigned char>, one element a byte of
///   the trimmed text; and from such a list back to its bytes.
/// - From SwJsonValue, SwJsonObject and SwJsonArray to SwString: compact JSON text, in which a String is
///   quoted and escaped. A Double that is converted by itself has six significant digits and, unlike inside a
///   container, is not written as an integer, so that 1e20 is "1e+20".
///
/// The registry: one per process, however many libraries of the process use it and in whatever way they were
/// loaded. It is filled with the library's types and conversions by the first operation that consults it:
/// convert, toString of anything but an SwString or a floating-point number, making, copying, reading or
/// wrapping a value of a meta type, getConversionRules, and any registration. Filling writes one line, the
/// same at every start of every process, to standard error, "CALL ONCE NOT TWICE" between two rows of 20
/// asterisks. If memory runs out, that first operation throws std::bad_alloc, and the next one completes the
/// registry, without a second line. Loading the library and using values of inline kinds does not fill it.
///
/// Exceptions: std::bad_alloc from whatever makes or copies a value, a name or a text. Moving, clearing and
/// destroying allocate nothing.
///
/// Threads: filling is safe from any of them. Registration is not: a host registers its own types and
/// conversions before others use SwAny, and the module that does so stays loaded, because the registry keeps
/// its functions. A value belongs to one thread; any number may read it while none changes it. The conversion
/// from SwString to `const char*` gives the address of one buffer that all threads share: its result holds
/// until the next such conversion, and two threads must not make one at once.
class SW_CORE_EXPORT SwAny {
 public:
  /// For each source type name the names of the types it converts to, in the order of registration.
  using ConversionRules = std::map<std::string, std::vector<std::string>>;
  using Converter = std::function<SwAny(const SwAny&)>;

  SwAny() noexcept = default;

  /// Holds `value`. For the inline kinds, SwString and the JSON values, exactly these types; from() takes
  /// any.
  template <typename T, std::enable_if_t<sw_any::convertsImplicitly<std::decay_t<T>>(), int> = 0>
  SwAny(T&& value) : SwAny(make<std::decay_t<T>>(std::forward<T>(value))) {}

  /// Copying passes on what the value's own copy throws, and then changes nothing.
  SwAny(const SwAny& other);
  SwAny(SwAny&& other) noexcept;
  SwAny& operator=(const SwAny& other);
  SwAny& operator=(SwAny&& other) noexcept;
  ~SwAny();

  /// Holds a copy of `value`, or `value` itself if it is an rvalue.
  ///
  /// Numbers of types that are no inline kinds (short, long long, char, int8_t, ...) are lost: nobody
  /// registers them, so only the type's name is kept. Convert them first, to the inline kind that holds all
  /// their values: `SwAny(static_cast<long>(value))`.
  template <typename T>
  static SwAny from(const T& value) {
    return make<std::decay_t<const T&>>(value);
  }
  template <typename T, std::enable_if_t<!std::is_lvalue_reference_v<T>, int> = 0>
  static SwAny from(T&& value) {
    return make<std::decay_t<T>>(std::forward<T>(value));
  }

  /// Holds a copy of the object of type `typeName` at `object`. A null address gives that type's name without
  /// storage, and a name that is not registered does too; for an inline kind, which has no such state, a null
  /// address gives an empty SwAny.
  static SwAny fromVoidPtr(const std::string& typeName, const void* object);

  /// The name under which values of type T are held: the run-time type name without a leading '*'. Types are
  /// told apart by it alone, so it must be unique in the process; a type of an anonymous namespace has the
  /// name of any other such type that is called the same, in whatever file or module.
  template <typename T>
  static std::string typeNameOf() {
    return sw_any::typeName<T>();
  }

  /// The held value's type name; empty if there is no value.
  const std::string& typeName() const& noexcept { return typeName_; }
  std::string typeName() && { return typeName_; }
  bool isEmpty() const noexcept { return typeName_.empty(); }
  bool empty() const noexcept { return isEmpty(); }

  /// The held value, owned by this SwAny and valid until it changes or dies. Throws std::runtime_error: "Type
  /// mismatch in SwAny::get" if the held type is not exactly T, "Null storage in SwAny::get" if there is no
  /// value behind its name.
  template <typename T>
  const T& get() const&;

  /// The held value itself, moved out; what stays is as moving leaves it. Throws get()'s errors.
  template <typename T>
  T take();

  /// Of a temporary, such as convert() gives, get() is take().
  template <typename T>
  T get() && {
    return take<T>();
  }

  /// The address of the held value, owned as above; null if there is none.
  void* data() const;

  /// Becomes an independent copy of `other`, as assignment does.
  void copyFrom(const SwAny& other);

  /// Releases the value and becomes empty.
  void clear() noexcept;

  /// A new SwAny with the value converted to the named type; a copy if it is the held type. If there is no
  /// such conversion, an empty SwAny, and "No conversion rule registered from ", the held name, " to " and
  /// the target name go to standard error as one line. Throws what the conversion throws, and get()'s errors
  /// if there is no value behind the name.
  SwAny convert(const std::string& targetTypeName) const;

  /// The value as text: an SwString's bytes; a float or double with `precision` significant digits, where 0
  /// counts as 1 and a negative number as 6; anything else through its conversion to SwString. Empty, with no
  /// message, if there is none. Throws get()'s errors if there is no value behind the name or the conversion
  /// gives another type.
  std::string toString(int precision) const;

  /// The conversions there are. The reference stays valid for the life of the process and shows later
  /// registrations too.
  static const ConversionRules& getConversionRules();

  /// Lets SwAny hold values of the copyable type T, which is no inline kind. Repeating it changes nothing.
  /// This and the next two throw std::bad_alloc and have then registered nothing.
  template <typename T>
  static void registerMetaType();

  /// Lets convert() turn an A into a B by calling `function`, which is kept and called from whichever threads
  /// convert; replaces an earlier conversion between the two. An empty function makes convert() throw
  /// std::bad_function_call. If B is neither an inline kind nor registered, convert() gives B's name without
  /// storage.
  template <typename A, typename B>
  static void registerConversion(std::function<B(const A&)> function);

  /// The same for a function that handles the SwAny itself; what it returns is what convert() returns.
  static void registerConverter(const std::string& sourceTypeName, const std::string& targetTypeName,
                                Converter converter);

 private:
  using MoveFunction = void (*)(SwAny& to, SwAny&& from);
  using ClearFunction = void (*)(SwAny& any);
  using CopyFunction = void (*)(SwAny& to, const SwAny& from);
  using DataFunction = void* (*)(const SwAny& any);
  using FromVoidPtrFunction = SwAny (*)(const void* object);

  /// What the registries hold for a meta type T. All but the last handle the storage alone, not the type
  /// name, and find `to` without an object.
  template <typename T>
  struct MetaType {
    static void moveFrom(SwAny& to, SwAny&& from) noexcept;
    static void clear(SwAny& any) noexcept;
    static void copyFrom(SwAny& to, const SwAny& from);
    static void* data(const SwAny& any) noexcept { return any.object(); }
    static SwAny fromVoidPtr(const void* object);
  };

  /// The registries: one of each per process, because these functions are the shared library's own.
  static std::map<std::string, MoveFunction>& _dynamicMoveFrom();
  static std::map<std::string, ClearFunction>& _dynamicClear();
  static std::map<std::string, CopyFunction>& _dynamicCopyFrom();
  static std::map<std::string, DataFunction>& _dynamicData();
  static std::map<std::string, FromVoidPtrFunction>& _dynamicFromVoidPtr();
  static ConversionRules& conversionRules();
  static std::map<std::pair<std::string, std::string>, Converter>& converters();

  static void ensureRegistryInitialized();
  static bool registerAllTypeOnce();
  static void registerAllType();
  static void registerMetaTypes();
  static void registerScalarConversions();
  static void registerListConversions();
  static void registerJsonConversions();
  static void registerByteConversions();

  /// Registration without filling the registry first: what filling itself uses.
  template <typename T>
  static void enterMetaType();
  template <typename A, typename B, typename Function>
  static void enterConversion(Function function);
  static void enterConverter(const std::string& sourceTypeName, const std::string& targetTypeName,
                             Converter converter);

  static bool isMetaType(const std::string& typeName);
  [[noreturn]] static void throwTypeMismatch();
  [[noreturn]] static void throwNullStorage();

  template <typename T, typename Value>
  static SwAny make(Value&& value);

  /// The first word of the storage, in which a meta type keeps the address of its object.
  void* object() const noexcept;
  void setObject(void* object) noexcept;

  void moveFrom(SwAny& other) noexcept;

  alignas(std::max_align_t) unsigned char storage_[sizeof(std::string)] = {};
  std::string typeName_;
};

template <typename T>
const T& SwAny::get() const& {
  if (typeName_ != sw_any::typeName<T>()) throwTypeMismatch();
  const void* held = data();
  if (!held) throwNullStorage();
  return *static_cast<const T*>(held);
}

template <typename T>
T SwAny::take() {
  return std::move(const_cast<T&>(get<T>()));
}

template <typename T>
void SwAny::registerMetaType() {
  ensureRegistryInitialized();
  enterMetaType<T>();
}

template <typename A, typename B>
void SwAny::registerConversion(std::function<B(const A&)> function) {
  ensureRegistryInitialized();
  enterConversion<A, B>(std::move(function));
}

template <typename T>
void SwAny::enterMetaType() {
  static_assert(std::is_same_v<T, std::decay_t<T>> && std::is_copy_constructible_v<T>);
  static_assert(!sw_any::isInlineKind<T>(), "values of this type need no registration");
  const std::string name = typeNameOf<T>();
  _dynamicMoveFrom()[name] = &MetaType<T>::moveFrom;
  _dynamicClear()[name] = &MetaType<T>::clear;
  _dynamicCopyFrom()[name] = &MetaType<T>::copyFrom;
  _dynamicFromVoidPtr()[name] = &MetaType<T>::fromVoidPtr;
  // Last, because isMetaType looks here: memory may run out on the way.
  _dynamicData()[name] = &MetaType<T>::data;
}

template <typename A, typename B, typename Function>
void SwAny::enterConversion(Function function) {
  enterConverter(typeNameOf<A>(), typeNameOf<B>(), [function = std::move(function)](const SwAny& source) {
    return make<B>(function(source.get<A>()));
  });
}

template <typename T, typename Value>
SwAny SwAny::make(Value&& value) {
  static_assert(!std::is_same_v<T, SwAny>);
  SwAny any;
  std::string name = typeNameOf<T>();
  if constexpr (sw_any::isInlineKind<T>()) {
    // NOLINTNEXTLINE(misc-redundant-expression): the same for one T, not for others
    static_assert(sizeof(T) <= sizeof(storage_) && alignof(T) <= alignof(std::max_align_t));
    ::new (static_cast<void*>(any.storage_)) T(std::forward<Value>(value));
  } else if (isMetaType(name)) {
    any.setObject(new T(std::forward<Value>(value)));
  }
  // Last, and unable to throw: the name is what makes the destructor look for a value.
  any.typeName_ = std::move(name);
  return any;
}

template <typename T>
void SwAny::MetaType<T>::moveFrom(SwAny& to, SwAny&& from) noexcept {
  to.setObject(from.object());
  from.setObject(nullptr);
}

template <typename T>
void SwAny::MetaType<T>::clear(SwAny& any) noexcept {
  delete static_cast<T*>(any.object());
  any.setObject(nullptr);
}

template <typename T>
void SwAny::MetaType<T>::copyFrom(SwAny& to, const SwAny& from) {
  const void* object = from.object();
  to.setObject(object ? new T(*static_cast<const T*>(object)) : nullptr);
}

template <typename T>
SwAny SwAny::MetaType<T>::fromVoidPtr(const void* object) {
  SwAny any;
  std::string name = typeNameOf<T>();
  if (object) any.setObject(new T(*static_cast<const T*>(object)));
  any.typeName_ = std::move(name);
  return any;
}
