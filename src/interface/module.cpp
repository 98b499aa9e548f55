// The Python boundary: the extension module PELIXInterface. This is the only file that sees
// Python.h and NumPy. It converts the caller's objects into typed arrays and scalars in the
// documented order with the documented messages, runs the engine with the interpreter lock
// released, and turns the engine's fatal errors into the end of the process.
#define PY_SSIZE_T_CLEAN
#include <Python.h>
#include <numpy/arrayobject.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <vector>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

#include "atoms/elements.hpp"
#include "common/fatal_error.hpp"
#include "engine/engine.hpp"
#include "interface/driver.hpp"

namespace {

// The one engine of the process and the module's exception type.
pelix::Engine& process_engine() {
    static pelix::Engine engine;
    return engine;
}

// The engine is not re-entrant: every call into it holds this lock. It is taken only after
// the interpreter lock has been released, so a thread waiting here never blocks the thread
// that holds it from finishing (which needs the interpreter lock again on its way out).
std::mutex& engine_lock() {
    static std::mutex lock;
    return lock;
}
PyObject* module_error = nullptr;

// ---------------------------------------------------------------------------------------
// The C library's allocator.

// Every force call allocates its arrays afresh and frees them before it returns. With the C
// library's defaults the freed top of the heap goes back to the kernel, and the next call
// faults the same pages in again, zeroed: about a fifth of a 16 000-atom call. The module
// therefore asks the allocator to serve blocks below 32 MiB from the heap (larger ones are
// mapped on their own) and to keep freed heap for reuse: 64 MiB, or, set before each call, up
// to 1 kiB per atom of the call, so that a million-atom call does not fault some 150 MB in
// again. Allocator settings made by the user through the environment are left as they are.
bool& heap_is_kept() {
    static bool kept = false;
    return kept;
}

constexpr int64_t kKeptHeapAtLeast = int64_t{64} << 20;

void keep_freed_heap_for_reuse() {
#if defined(__GLIBC__)
    for (const char* setting : {"GLIBC_TUNABLES", "MALLOC_TRIM_THRESHOLD_",
                                "MALLOC_MMAP_THRESHOLD_", "MALLOC_TOP_PAD_"}) {
        if (std::getenv(setting) != nullptr)
            return;
    }
    mallopt(M_MMAP_THRESHOLD, 32 << 20);
    mallopt(M_TRIM_THRESHOLD, static_cast<int>(kKeptHeapAtLeast));
    heap_is_kept() = true;
#endif
}

// A bound on the heap a force call takes per atom, above the arrays mapped on their own: well
// above the 150 to 260 bytes measured (a million iron atoms with "ACKLAND", 629 000 with
// "ZERO"). No more is kept than the call itself took.
constexpr int64_t kHeapBytesPerAtom = 1024;

void keep_freed_heap_for_call(int64_t atoms) {
#if defined(__GLIBC__)
    if (!heap_is_kept())
        return;
    const int64_t wanted =
        std::max(kKeptHeapAtLeast, kHeapBytesPerAtom * std::max<int64_t>(atoms, 0));
    mallopt(M_TRIM_THRESHOLD, static_cast<int>(std::min<int64_t>(wanted, INT_MAX)));
#else
    (void)atoms;
#endif
}

// ---------------------------------------------------------------------------------------
// Ending the process on a fatal error.

void flush_python_stream(const char* name) {
    PyObject* stream = PySys_GetObject(name);  // borrowed
    if (stream != nullptr && stream != Py_None) {
        PyObject* r = PyObject_CallMethod(stream, "flush", nullptr);
        Py_XDECREF(r);
    }
    PyErr_Clear();
}

void flush_python_streams() {
    flush_python_stream("stdout");
    flush_python_stream("stderr");
}

[[noreturn]] void end_process(const pelix::FatalError& error) {
    flush_python_streams();
    std::fflush(stdout);
    for (const auto& line : error.lines()) {
        std::fputs(line.c_str(), stdout);
        std::fputc('\n', stdout);
    }
    std::fflush(stdout);
    std::fflush(stderr);
    std::_Exit(error.exit_status());
}

// Runs `work` with the interpreter lock released. Fatal errors end the process; argument
// errors become PELIXInterface.error; running out of memory becomes MemoryError. Returns
// false when a Python error has been set.
template <class Work>
bool run_engine(Work&& work) {
    flush_python_stream("stdout");
    bool ok = true;
    std::string argument_message;
    bool fatal = false;
    bool out_of_memory = false;
    pelix::FatalError fatal_error({}, 0);
    Py_BEGIN_ALLOW_THREADS try {
        const std::lock_guard<std::mutex> hold(engine_lock());
        work();
    } catch (const pelix::FatalError& e) {
        fatal = true;
        fatal_error = e;
    } catch (const pelix::ArgumentError& e) {
        ok = false;
        argument_message = e.what();
    } catch (const std::bad_alloc&) {
        ok = false;
        out_of_memory = true;
    }
    Py_END_ALLOW_THREADS if (fatal) end_process(fatal_error);
    if (!ok) {
        if (out_of_memory) {
            PyErr_NoMemory();
        } else {
            PyErr_SetString(module_error, argument_message.c_str());
        }
    }
    return ok;
}

// ---------------------------------------------------------------------------------------
// Scalars. A number converts directly; otherwise its real part or first element is tried.
// On failure the given message is raised with the type of the error already pending, or as
// PELIXInterface.error when none is.

void raise_conversion_error(const char* message) {
    PyObject* pending = PyErr_Occurred();
    PyObject* type = pending != nullptr ? pending : module_error;
    Py_INCREF(type);
    PyErr_SetString(type, message);
    Py_DECREF(type);
}

PyObject* fallback_item(PyObject* obj) {
    if (PyComplex_Check(obj))
        return PyObject_GetAttrString(obj, "real");
    if (PyUnicode_Check(obj) || PyBytes_Check(obj))
        return nullptr;
    if (PySequence_Check(obj))
        return PySequence_GetItem(obj, 0);
    return nullptr;
}

bool int_from_pyobj(int32_t* value, PyObject* obj, const char* message) {
    PyObject* number = PyLong_Check(obj) ? (Py_INCREF(obj), obj) : PyNumber_Long(obj);
    if (number != nullptr) {
        int overflow = 0;
        const long long v = PyLong_AsLongLongAndOverflow(number, &overflow);
        Py_DECREF(number);
        if (overflow == 0 && !(v == -1 && PyErr_Occurred()) && v >= INT32_MIN && v <= INT32_MAX) {
            *value = static_cast<int32_t>(v);
            return true;
        }
        if (!PyErr_Occurred())
            PyErr_SetString(PyExc_OverflowError, message);
        raise_conversion_error(message);
        return false;
    }
    PyObject* item = fallback_item(obj);
    if (item != nullptr) {
        PyErr_Clear();
        const bool ok = int_from_pyobj(value, item, message);
        Py_DECREF(item);
        if (ok)
            return true;
    }
    raise_conversion_error(message);
    return false;
}

bool double_from_pyobj(double* value, PyObject* obj, const char* message) {
    if (PyFloat_Check(obj)) {
        *value = PyFloat_AsDouble(obj);
        return true;
    }
    PyObject* number = PyNumber_Float(obj);
    if (number != nullptr) {
        *value = PyFloat_AsDouble(number);
        Py_DECREF(number);
        return true;
    }
    PyObject* item = fallback_item(obj);
    if (item != nullptr) {
        PyErr_Clear();
        const bool ok = double_from_pyobj(value, item, message);
        Py_DECREF(item);
        if (ok)
            return true;
    }
    raise_conversion_error(message);
    return false;
}

// ---------------------------------------------------------------------------------------
// Rank-1 arrays. `dim` is the required length (negative: taken from the array). A failed
// check either sets a ValueError or returns false with no error set, in which case the
// caller raises its own conversion message.

bool fix_rank1_dimension(PyArrayObject* arr, npy_intp& dim) {
    const int nd = PyArray_NDIM(arr);
    const npy_intp size = PyArray_SIZE(arr);
    npy_intp d = 1;
    if (nd == 1) {
        d = PyArray_DIM(arr, 0);
    } else if (nd > 1) {
        int long_axes = 0;
        for (int k = 0; k < nd; ++k) {
            if (PyArray_DIM(arr, k) > 1) {
                ++long_axes;
                d = PyArray_DIM(arr, k);
            }
        }
        if (long_axes > 1)
            return false;
        if (size == 0)
            d = 0;
    }
    if (dim >= 0) {
        if (d > 1 && d != dim) {
            if (nd == 1) {
                PyErr_Format(PyExc_ValueError, "%d-th dimension must be fixed to %ld but got %ld",
                             0, static_cast<long>(dim), static_cast<long>(d));
            }
            return false;
        }
        if (dim == 0 && size != 0)
            dim = 1;
    } else {
        dim = d;
    }
    if (dim != size) {
        if (nd == 1) {
            PyErr_Format(PyExc_ValueError,
                         "unexpected array size: new_size=%ld, got array with arr_size=%ld",
                         static_cast<long>(dim), static_cast<long>(size));
        }
        return false;
    }
    return true;
}

struct ArrayRef {
    PyArrayObject* arr = nullptr;
    npy_intp length = 0;
    ArrayRef() = default;
    ArrayRef(const ArrayRef&) = delete;
    ArrayRef& operator=(const ArrayRef&) = delete;
    ~ArrayRef() { Py_XDECREF(arr); }
    template <class T>
    T* data() const {
        return static_cast<T*>(PyArray_DATA(arr));
    }
};

// Intent "in": any object NumPy can turn into an array of the type; a contiguous converted
// copy is made when needed and discarded after the call.
bool array_in(ArrayRef& out, int typenum, npy_intp dim, PyObject* obj, const char* message) {
    PyArrayObject* arr = nullptr;
    if (PyArray_Check(obj)) {
        auto* given = reinterpret_cast<PyArrayObject*>(obj);
        if (!fix_rank1_dimension(given, dim)) {
            if (!PyErr_Occurred())
                PyErr_SetString(module_error, message);
            return false;
        }
        if (PyArray_ISCARRAY_RO(given) && PyArray_ISNOTSWAPPED(given) &&
            PyArray_EquivTypenums(PyArray_TYPE(given), typenum)) {
            Py_INCREF(obj);
            arr = given;
        } else {
            arr = reinterpret_cast<PyArrayObject*>(PyArray_FromAny(
                obj, PyArray_DescrFromType(typenum), 0, 0,
                NPY_ARRAY_CARRAY | NPY_ARRAY_FORCECAST | NPY_ARRAY_ENSURECOPY, nullptr));
        }
    } else {
        arr = reinterpret_cast<PyArrayObject*>(
            PyArray_FromAny(obj, PyArray_DescrFromType(typenum), 0, 0,
                            NPY_ARRAY_CARRAY | NPY_ARRAY_FORCECAST, nullptr));
        if (arr != nullptr && !fix_rank1_dimension(arr, dim)) {
            Py_DECREF(arr);
            arr = nullptr;
        }
    }
    if (arr == nullptr) {
        if (!PyErr_Occurred())
            PyErr_SetString(module_error, message);
        return false;
    }
    out.arr = arr;
    out.length = dim;
    return true;
}

// Intent "in/output": must already be a contiguous, aligned, writeable, native-order array
// of exactly the element type; results are written straight into it.
bool array_inout(ArrayRef& out, int typenum, npy_intp dim, PyObject* obj, const char* message) {
    if (!PyArray_Check(obj)) {
        PyErr_Format(PyExc_ValueError,
                     "failed to initialize intent(inout|inplace|cache) array -- input must be "
                     "array but got %s",
                     Py_TYPE(obj)->tp_name);
        return false;
    }
    auto* arr = reinterpret_cast<PyArrayObject*>(obj);
    if (!fix_rank1_dimension(arr, dim)) {
        if (!PyErr_Occurred())
            PyErr_SetString(module_error, message);
        return false;
    }
    PyArray_Descr* want = PyArray_DescrFromType(typenum);
    const int want_size = static_cast<int>(PyDataType_ELSIZE(want));
    const char want_char = want->type;
    Py_DECREF(want);
    const int have_size = static_cast<int>(PyArray_ITEMSIZE(arr));
    const char have_char = PyArray_DESCR(arr)->type;
    const bool compatible = PyArray_ISFLOAT(arr) == PyTypeNum_ISFLOAT(typenum) &&
                            PyArray_ISINTEGER(arr) == PyTypeNum_ISINTEGER(typenum) &&
                            !PyArray_ISCOMPLEX(arr);
    const bool contiguous = PyArray_IS_C_CONTIGUOUS(arr);
    const bool aligned = PyArray_ISALIGNED(arr);
    const bool native = PyArray_ISNOTSWAPPED(arr);
    const bool writeable = PyArray_ISWRITEABLE(arr);
    if (contiguous && aligned && compatible && have_size == want_size && native && writeable) {
        Py_INCREF(obj);
        out.arr = arr;
        out.length = dim;
        return true;
    }
    std::string text = "failed to initialize intent(inout|inplace|cache) array";
    char buf[96];
    if (!contiguous)
        text += " -- input not contiguous";
    if (have_size != want_size) {
        std::snprintf(buf, sizeof buf, " -- expected elsize=%d but got %d", want_size, have_size);
        text += buf;
    }
    if (!compatible) {
        std::snprintf(buf, sizeof buf, " -- input '%c' not compatible to '%c'", have_char,
                      want_char);
        text += buf;
    }
    if (!aligned) {
        std::snprintf(buf, sizeof buf, " -- input not %d-aligned", want_size);
        text += buf;
    }
    if (!native)
        text += " -- input not in native byte order";
    if (!writeable)
        text += " -- input not writeable";
    PyErr_SetString(PyExc_ValueError, text.c_str());
    return false;
}

// Character strings: str, bytes, bytearray, or an array of one-byte characters.
bool string_in(std::string& out, PyObject* obj, const char* message) {
    if (PyUnicode_Check(obj)) {
        Py_ssize_t n = 0;
        const char* s = PyUnicode_AsUTF8AndSize(obj, &n);
        if (s == nullptr)
            return false;
        out.assign(s, static_cast<std::size_t>(n));
        return true;
    }
    if (PyBytes_Check(obj)) {
        out.assign(PyBytes_AS_STRING(obj), static_cast<std::size_t>(PyBytes_GET_SIZE(obj)));
        return true;
    }
    if (PyByteArray_Check(obj)) {
        out.assign(PyByteArray_AS_STRING(obj), static_cast<std::size_t>(PyByteArray_GET_SIZE(obj)));
        return true;
    }
    PyObject* any = PyArray_FROM_O(obj);
    if (any == nullptr) {
        if (!PyErr_Occurred())
            PyErr_SetString(module_error, message);
        return false;
    }
    auto* arr = reinterpret_cast<PyArrayObject*>(any);
    bool ok = false;
    if (PyArray_TYPE(arr) == NPY_STRING && (PyArray_ITEMSIZE(arr) == 1 || PyArray_NDIM(arr) == 0)) {
        PyObject* contiguous = PyArray_NewCopy(arr, NPY_CORDER);
        if (contiguous != nullptr) {
            auto* c = reinterpret_cast<PyArrayObject*>(contiguous);
            const char* data = static_cast<const char*>(PyArray_DATA(c));
            const auto nbytes = static_cast<std::size_t>(PyArray_NBYTES(c));
            out.assign(data, nbytes);
            if (PyArray_NDIM(arr) == 0)
                out.resize(out.find_last_not_of('\0') + 1);
            for (char& ch : out) {
                if (ch == '\0')
                    ch = ' ';
            }
            Py_DECREF(contiguous);
            ok = true;
        }
    }
    Py_DECREF(any);
    if (!ok && !PyErr_Occurred())
        PyErr_SetString(module_error, message);
    return ok;
}

// An optional size argument: the default when absent or None, else converted and checked.
bool size_argument(int32_t* value, PyObject* obj, npy_intp default_value, const char* convert_msg,
                   const char* check_text, const char* report_format) {
    if (obj == nullptr || obj == Py_None) {
        *value = static_cast<int32_t>(default_value);
        return true;
    }
    if (!int_from_pyobj(value, obj, convert_msg))
        return false;
    if (!(default_value >= *value)) {
        char report[64];
        std::snprintf(report, sizeof report, report_format, *value);
        std::string text = std::string(check_text) + ": " + report;
        if (text.size() > 255)
            text.resize(255);
        PyErr_SetString(module_error, text.c_str());
        return false;
    }
    return true;
}

// ---------------------------------------------------------------------------------------
// The four functions.

PyObject* py_calcforce(PyObject*, PyObject* args, PyObject* kwds) {
    static const char* kwlist[] = {"image",    "speciestring", "specie",      "pos",    "charge",
                                   "force",    "kearray",      "pearray",     "xdim",   "ydim",
                                   "zdim",     "calcindexes",  "mainindexes", "posdim", "natoms",
                                   "nspecies", "edim",         "ncalc",       "nmain",  nullptr};
    PyObject *image_o, *speciestring_o, *specie_o, *pos_o, *charge_o, *force_o, *kearray_o,
        *pearray_o, *xdim_o, *ydim_o, *zdim_o, *calcindexes_o, *mainindexes_o;
    PyObject *posdim_o = Py_None, *natoms_o = Py_None, *nspecies_o = Py_None, *edim_o = Py_None,
             *ncalc_o = Py_None, *nmain_o = Py_None;
    if (!PyArg_ParseTupleAndKeywords(
            args, kwds, "OOOOOOOOOOOOO|OOOOOO:PELIXInterface.calcforce", const_cast<char**>(kwlist),
            &image_o, &speciestring_o, &specie_o, &pos_o, &charge_o, &force_o, &kearray_o,
            &pearray_o, &xdim_o, &ydim_o, &zdim_o, &calcindexes_o, &mainindexes_o, &posdim_o,
            &natoms_o, &nspecies_o, &edim_o, &ncalc_o, &nmain_o)) {
        return nullptr;
    }
    pelix::CalcForceCall call;
    if (!int_from_pyobj(
            &call.image, image_o,
            "PELIXInterface.calcforce() 1st argument (image) can't be converted to int"))
        return nullptr;
    if (!double_from_pyobj(
            &call.zdim, zdim_o,
            "PELIXInterface.calcforce() 11st argument (zdim) can't be converted to double"))
        return nullptr;
    if (!double_from_pyobj(
            &call.xdim, xdim_o,
            "PELIXInterface.calcforce() 9th argument (xdim) can't be converted to double"))
        return nullptr;
    ArrayRef pos, specie, kearray, mainindexes, calcindexes, charge, force, pearray;
    if (!array_in(pos, NPY_DOUBLE, -1, pos_o,
                  "failed in converting 4th argument `pos' of PELIXInterface.calcforce to "
                  "C/Fortran array"))
        return nullptr;
    if (!array_in(specie, NPY_INT32, -1, specie_o,
                  "failed in converting 3rd argument `specie' of PELIXInterface.calcforce to "
                  "C/Fortran array"))
        return nullptr;
    std::string speciestring;
    if (!string_in(speciestring, speciestring_o,
                   "failed in converting 2nd argument `speciestring' of "
                   "PELIXInterface.calcforce to C/Fortran array"))
        return nullptr;
    if (!double_from_pyobj(
            &call.ydim, ydim_o,
            "PELIXInterface.calcforce() 10th argument (ydim) can't be converted to double"))
        return nullptr;
    if (!array_inout(kearray, NPY_DOUBLE, -1, kearray_o,
                     "failed in converting 7th argument `kearray' of PELIXInterface.calcforce "
                     "to C/Fortran array"))
        return nullptr;
    if (!array_in(mainindexes, NPY_INT32, -1, mainindexes_o,
                  "failed in converting 13rd argument `mainindexes' of PELIXInterface.calcforce "
                  "to C/Fortran array"))
        return nullptr;
    if (!array_in(calcindexes, NPY_INT32, -1, calcindexes_o,
                  "failed in converting 12nd argument `calcindexes' of PELIXInterface.calcforce "
                  "to C/Fortran array"))
        return nullptr;
    const auto speciestring_len = static_cast<npy_intp>(speciestring.size());
    if (!size_argument(&call.ncalc, ncalc_o, calcindexes.length,
                       "PELIXInterface.calcforce() 5th keyword (ncalc) can't be converted to int",
                       "(len(calcindexes)>=ncalc) failed for 5th keyword ncalc",
                       "calcforce:ncalc=%d"))
        return nullptr;
    if (!size_argument(&call.natoms, natoms_o, specie.length,
                       "PELIXInterface.calcforce() 2nd keyword (natoms) can't be converted to int",
                       "(len(specie)>=natoms) failed for 2nd keyword natoms",
                       "calcforce:natoms=%d"))
        return nullptr;
    if (!size_argument(&call.nmain, nmain_o, mainindexes.length,
                       "PELIXInterface.calcforce() 6th keyword (nmain) can't be converted to int",
                       "(len(mainindexes)>=nmain) failed for 6th keyword nmain",
                       "calcforce:nmain=%d"))
        return nullptr;
    if (!size_argument(&call.posdim, posdim_o, pos.length,
                       "PELIXInterface.calcforce() 1st keyword (posdim) can't be converted to int",
                       "(len(pos)>=posdim) failed for 1st keyword posdim", "calcforce:posdim=%d"))
        return nullptr;
    if (!size_argument(
            &call.nspecies, nspecies_o, speciestring_len / 2,
            "PELIXInterface.calcforce() 3rd keyword (nspecies) can't be converted to int",
            "((len(speciestring))/(2)>=nspecies) failed for 3rd keyword nspecies",
            "calcforce:nspecies=%d"))
        return nullptr;
    if (!size_argument(&call.edim, edim_o, kearray.length,
                       "PELIXInterface.calcforce() 4th keyword (edim) can't be converted to int",
                       "(len(kearray)>=edim) failed for 4th keyword edim", "calcforce:edim=%d"))
        return nullptr;
    if (!array_in(charge, NPY_DOUBLE, call.natoms, charge_o,
                  "failed in converting 5th argument `charge' of PELIXInterface.calcforce to "
                  "C/Fortran array"))
        return nullptr;
    if (!array_inout(force, NPY_DOUBLE, call.posdim, force_o,
                     "failed in converting 6th argument `force' of PELIXInterface.calcforce to "
                     "C/Fortran array"))
        return nullptr;
    if (!array_inout(pearray, NPY_DOUBLE, call.edim, pearray_o,
                     "failed in converting 8th argument `pearray' of PELIXInterface.calcforce "
                     "to C/Fortran array"))
        return nullptr;

    call.speciestring = speciestring;
    call.specie = specie.data<int32_t>();
    call.pos = pos.data<double>();
    call.charge = charge.data<double>();
    call.force = force.data<double>();
    call.kearray = kearray.data<double>();
    call.pearray = pearray.data<double>();
    call.calcindexes = calcindexes.data<int32_t>();
    call.mainindexes = mainindexes.data<int32_t>();
    call.len_specie = PyArray_SIZE(specie.arr);
    call.len_pos = PyArray_SIZE(pos.arr);
    call.len_charge = PyArray_SIZE(charge.arr);
    call.len_force = PyArray_SIZE(force.arr);
    call.len_kearray = PyArray_SIZE(kearray.arr);
    call.len_pearray = PyArray_SIZE(pearray.arr);
    call.len_calcindexes = PyArray_SIZE(calcindexes.arr);
    call.len_mainindexes = PyArray_SIZE(mainindexes.arr);

    pelix::CalcForceResult result;
    result.totalenergy = 0.0;
    result.maxforce = 0.0;
    keep_freed_heap_for_call(call.natoms);
    if (!run_engine([&] { pelix::calcforce(process_engine(), call, result); }))
        return nullptr;
    if (PyErr_Occurred())
        return nullptr;
    return Py_BuildValue("ddii", result.totalenergy, result.maxforce, result.maxforceatom,
                         result.status);
}

PyObject* py_get_value(PyObject*, PyObject* args, PyObject* kwds) {
    static const char* kwlist[] = {"value_name", "value", "value_name_len", nullptr};
    PyObject *name_o, *value_o, *len_o = Py_None;
    if (!PyArg_ParseTupleAndKeywords(args, kwds, "OO|O:PELIXInterface.get_value",
                                     const_cast<char**>(kwlist), &name_o, &value_o, &len_o)) {
        return nullptr;
    }
    std::string name;
    if (!string_in(name, name_o,
                   "failed in converting 1st argument `value_name' of PELIXInterface.get_value "
                   "to C/Fortran array"))
        return nullptr;
    double value = 0.0;
    if (!double_from_pyobj(&value, value_o,
                           "PELIXInterface.get_value() 2nd argument (value) can't be converted "
                           "to float"))
        return nullptr;
    int32_t name_len = 0;
    if (!size_argument(&name_len, len_o, static_cast<npy_intp>(name.size()),
                       "PELIXInterface.get_value() 1st keyword (value_name_len) can't be "
                       "converted to int",
                       "(len(value_name)>=value_name_len) failed for 1st keyword value_name_len",
                       "get_value:value_name_len=%d"))
        return nullptr;
    const std::string shown = name.substr(0, static_cast<std::size_t>(name_len > 0 ? name_len : 0));
    if (!run_engine([&] { pelix::get_value(shown, value); }))
        return nullptr;
    Py_RETURN_NONE;
}

PyObject* py_set_pbcs(PyObject*, PyObject* args, PyObject* kwds) {
    static const char* kwlist[] = {"pbcxin", "pbcyin", "pbczin", nullptr};
    PyObject *x_o, *y_o, *z_o;
    if (!PyArg_ParseTupleAndKeywords(args, kwds, "OOO:PELIXInterface.set_pbcs",
                                     const_cast<char**>(kwlist), &x_o, &y_o, &z_o)) {
        return nullptr;
    }
    int32_t x = 0, y = 0, z = 0;
    if (!int_from_pyobj(
            &y, y_o, "PELIXInterface.set_pbcs() 2nd argument (pbcyin) can't be converted to int"))
        return nullptr;
    if (!int_from_pyobj(
            &z, z_o, "PELIXInterface.set_pbcs() 3rd argument (pbczin) can't be converted to int"))
        return nullptr;
    if (!int_from_pyobj(
            &x, x_o, "PELIXInterface.set_pbcs() 1st argument (pbcxin) can't be converted to int"))
        return nullptr;
    if (!run_engine([&] { pelix::set_pbcs(process_engine(), x, y, z); }))
        return nullptr;
    Py_RETURN_NONE;
}

PyObject* py_read_pelix_in(PyObject*, PyObject* args, PyObject* kwds) {
    static const char* kwlist[] = {nullptr};
    if (!PyArg_ParseTupleAndKeywords(args, kwds, ":PELIXInterface.read_pelix_in",
                                     const_cast<char**>(kwlist))) {
        return nullptr;
    }
    int32_t status = 0;
    if (!run_engine([&] { status = pelix::read_pelix_in(process_engine()); }))
        return nullptr;
    return Py_BuildValue("i", status);
}

// Not one of the specified entry points: the interaction range of the last force call, for
// callers that must know how long a periodic axis has to be.
PyObject* py_interaction_range(PyObject*, PyObject*) {
    return PyFloat_FromDouble(process_engine().neighbours.range);
}

// family_refusal(keyword, symbol, symbol): None when the family of the keyword takes the pair
// of elements, else the text the engine would stop with. The family is set up in a scratch
// engine, reading its files from the current directory; the process engine is not touched.
PyObject* py_family_refusal(PyObject*, PyObject* args) {
    const char* keyword = nullptr;
    const char* a = nullptr;
    const char* b = nullptr;
    if (!PyArg_ParseTuple(args, "sss", &keyword, &a, &b))
        return nullptr;
    const pelix::KeywordRow* row = pelix::find_built_keyword(pelix::keyword_table(), keyword);
    if (row == nullptr)
        return PyUnicode_FromString((std::string(keyword) + " is unknown").c_str());
    try {
        pelix::Engine scratch;
        const int32_t za = pelix::atomic_number(a), zb = pelix::atomic_number(b);
        row->ops->setup(scratch, 1);
        (void)row->ops->cutoff_squared(scratch, za, zb);
    } catch (const pelix::FatalError& stop) {
        std::string text;
        for (const std::string& line : stop.lines()) {
            if (!text.empty())
                text += '\n';
            text += line;
        }
        return PyUnicode_FromString(text.c_str());
    }
    Py_RETURN_NONE;
}

// ---------------------------------------------------------------------------------------
// Doc strings and module definition.

#define CALCFORCE_SIGNATURE                                                                \
    "totalenergy,maxforce,maxforceatom,status = "                                          \
    "calcforce(image,speciestring,specie,pos,charge,force,kearray,pearray,xdim,ydim,zdim," \
    "calcindexes,mainindexes,[posdim,natoms,nspecies,edim,ncalc,nmain])"

const char calcforce_doc[] =
    CALCFORCE_SIGNATURE "\n\nFunction signature:\n  " CALCFORCE_SIGNATURE
                        "\nRequired arguments:\n"
                        "  image : input int\n"
                        "  speciestring : input rank-1 array('S') with bounds (2 * nspecies)\n"
                        "  specie : input rank-1 array('i') with bounds (natoms)\n"
                        "  pos : input rank-1 array('d') with bounds (posdim)\n"
                        "  charge : input rank-1 array('d') with bounds (natoms)\n"
                        "  force : in/output rank-1 array('d') with bounds (posdim)\n"
                        "  kearray : in/output rank-1 array('d') with bounds (edim)\n"
                        "  pearray : in/output rank-1 array('d') with bounds (edim)\n"
                        "  xdim : input float\n"
                        "  ydim : input float\n"
                        "  zdim : input float\n"
                        "  calcindexes : input rank-1 array('i') with bounds (ncalc)\n"
                        "  mainindexes : input rank-1 array('i') with bounds (nmain)\n"
                        "Optional arguments:\n"
                        "  posdim := len(pos) input int\n"
                        "  natoms := len(specie) input int\n"
                        "  nspecies := (len(speciestring))/(2) input int\n"
                        "  edim := len(kearray) input int\n"
                        "  ncalc := len(calcindexes) input int\n"
                        "  nmain := len(mainindexes) input int\n"
                        "Return objects:\n"
                        "  totalenergy : float\n"
                        "  maxforce : float\n"
                        "  maxforceatom : int\n"
                        "  status : int";

const char get_value_doc[] =
    "get_value(value_name,value,[value_name_len])\n\n"
    "Function signature:\n  get_value(value_name,value,[value_name_len])\n"
    "Required arguments:\n"
    "  value_name : input rank-1 array('S') with bounds (value_name_len)\n"
    "  value : input float\n"
    "Optional arguments:\n"
    "  value_name_len := len(value_name) input int";

const char set_pbcs_doc[] =
    "set_pbcs(pbcxin,pbcyin,pbczin)\n\n"
    "Function signature:\n  set_pbcs(pbcxin,pbcyin,pbczin)\n"
    "Required arguments:\n"
    "  pbcxin : input int\n"
    "  pbcyin : input int\n"
    "  pbczin : input int";

const char read_pelix_in_doc[] =
    "return_status = read_pelix_in()\n\n"
    "Function signature:\n  return_status = read_pelix_in()\n"
    "Return objects:\n"
    "  return_status : int";

const char module_doc[] =
    "This module 'PELIXInterface' is the Python interface of the PELIX force-field engine.\n"
    "Functions:\n"
    "  totalenergy,maxforce,maxforceatom,status = "
    "calcforce(image,speciestring,specie,pos,charge,force,kearray,pearray,xdim,ydim,zdim,"
    "calcindexes,mainindexes,posdim=len(pos),natoms=len(specie),nspecies=(len(speciestring))/"
    "(2),edim=len(kearray),ncalc=len(calcindexes),nmain=len(mainindexes))\n"
    "  get_value(value_name,value,value_name_len=len(value_name))\n"
    "  set_pbcs(pbcxin,pbcyin,pbczin)\n"
    "  return_status = read_pelix_in()\n"
    ".";

PyMethodDef methods[] = {
    {"calcforce", reinterpret_cast<PyCFunction>(reinterpret_cast<void (*)()>(py_calcforce)),
     METH_VARARGS | METH_KEYWORDS, calcforce_doc},
    {"get_value", reinterpret_cast<PyCFunction>(reinterpret_cast<void (*)()>(py_get_value)),
     METH_VARARGS | METH_KEYWORDS, get_value_doc},
    {"set_pbcs", reinterpret_cast<PyCFunction>(reinterpret_cast<void (*)()>(py_set_pbcs)),
     METH_VARARGS | METH_KEYWORDS, set_pbcs_doc},
    {"read_pelix_in", reinterpret_cast<PyCFunction>(reinterpret_cast<void (*)()>(py_read_pelix_in)),
     METH_VARARGS | METH_KEYWORDS, read_pelix_in_doc},
    {"family_refusal", py_family_refusal, METH_VARARGS,
     "family_refusal(keyword, symbol, symbol) -> None when the family of the keyword takes the\n"
     "pair of elements, else the text the engine would stop with (its files are read from the\n"
     "current directory; nothing of the engine's state changes)."},
    {"interaction_range", py_interaction_range, METH_NOARGS,
     "interaction_range() -> the largest pair radius of the last force call (cut-off plus the\n"
     "0.3 A skin, or the Ewald real-space cut-off), 0.0 before the first. A periodic axis\n"
     "shorter than it gives wrong results: replicate the cell along it."},
    {nullptr, nullptr, 0, nullptr}};

PyModuleDef module_def = {PyModuleDef_HEAD_INIT,
                          "PELIXInterface",
                          module_doc,
                          -1,
                          methods,
                          nullptr,
                          nullptr,
                          nullptr,
                          nullptr};

}  // namespace

PyMODINIT_FUNC PyInit_PELIXInterface() {
    if (PyArray_ImportNumPyAPI() < 0) {
        PyObject *type, *value, *traceback;
        PyErr_Fetch(&type, &value, &traceback);
        PyErr_SetString(PyExc_ImportError,
                        "can't initialize module PELIXInterface (failed to import numpy)");
        Py_XDECREF(type);
        Py_XDECREF(value);
        Py_XDECREF(traceback);
        return nullptr;
    }
    keep_freed_heap_for_reuse();
    PyObject* module = PyModule_Create(&module_def);
    if (module == nullptr)
        return nullptr;
    if (PyModule_AddStringConstant(module, "__version__", "$Revision: $") < 0) {
        Py_DECREF(module);
        return nullptr;
    }
    module_error = PyErr_NewException("PELIXInterface.error", nullptr, nullptr);
    if (module_error == nullptr) {
        Py_DECREF(module);
        return nullptr;
    }
    Py_INCREF(module_error);
    if (PyModule_AddObject(module, "error", module_error) < 0) {
        Py_DECREF(module_error);
        Py_DECREF(module);
        return nullptr;
    }
    return module;
}
