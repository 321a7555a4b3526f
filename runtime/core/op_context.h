// Parameter access for operator implementations.
//
// Every operator reads its inputs and writes its results through an
// OpContext, so that the rules of the instance's parameter block live in one
// place:
//
// Numbering. Object parameters count from 1, control parameters from 0, in
// each direction separately, as in the parameter block. Every accessor
// checks `par` against the operator's declaration and answers
// VERR_PAR_INDEX for a parameter the operator does not have.
//
// Input objects. What the caller stored at an input object parameter is a
// list of keys; a key tuple (class ID 4) among them stands for its keys and
// is expanded, recursively; the "empty" object and the undefined key stand
// for no object. InpObjs() gives the expanded list; the keys are borrowed
// (the operator must not release them).
//
// Input controls. A record holds its values either in place (one value) or
// in an element array; CtrlElem() reads both shapes. The typed readers
// check the number and the type of the values and answer
// VERR_CTRL_NUM(par) or VERR_CTRL_TYPE(par); GetDouble/GetDoubles accept
// integers and convert them. Strings are borrowed from the caller and valid
// for the call.
//
// Output objects. The operator hands over one reference per key (a key it
// made, or one it copied with DBCopyObjectId); SetOutpObjs takes them over
// in every case, also on failure. In procedural mode (global() true) the
// slot receives exactly one key: the object itself when there is exactly
// one, otherwise a new key tuple holding the zero or several objects (the
// operator's references are then released; the tuple holds its own). In
// class-method mode the slot receives one key per object. Keys still in a
// slot when the instance is deleted are released there.
//
// Output controls. A single value is stored in place (capacity 0, elem
// pointing at the record), several values as a VPAR_MIXED element array;
// strings and arrays are allocated with VXAlloc, since the caller adopts
// them and frees them with VXFree. Writing a parameter twice releases what
// was written first.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "vexa/errors.h"
#include "vexa/runtime.h"
#include "vexa/types.h"

namespace vexa {

// Values for one mixed output control parameter, in order.
class CtrlValues {
 public:
  CtrlValues& Add(Vlong v);
  CtrlValues& Add(int v) { return Add(static_cast<Vlong>(v)); }
  CtrlValues& Add(double v);
  CtrlValues& Add(std::string s);
  CtrlValues& Add(const char* s) { return Add(std::string(s)); }
  size_t size() const { return items_.size(); }

 private:
  friend class OpContext;
  struct Item {
    int type;  // VPAR_LONG, VPAR_DOUBLE or VPAR_STRING
    Vlong l;
    double d;
    std::string s;
  };
  std::vector<Item> items_;
};

class OpContext {
 public:
  // `proc` is the live instance handed to the implementation.
  explicit OpContext(void* proc);

  void* proc() const { return proc_; }
  int32_t op() const { return op_; }
  // True for the procedural face (one key per output object parameter).
  bool global() const;

  // ---- Input objects (par 1..9) ----------------------------------------

  // The expanded keys of input object `par` (see above). Fails with
  // VERR_PAR_INDEX or the database's code for a key it refuses.
  Vresult InpObjs(int par, const std::vector<Vkey>** keys);
  // Number of expanded objects.
  Vresult InpObjCount(int par, Vlong* num);
  // Key `i` of the expansion; valid after InpObjs or InpObjCount succeeded
  // for `par`; VKEY_UNDEF when out of range.
  Vkey InpObjKey(int par, Vlong i) const;
  // Exactly one object, else VERR_OBJ_NUM(par).
  Vresult InpObjSingle(int par, Vkey* key);
  // Calls fn(key, index) for each expanded object in order and stops at the
  // first result other than VRESULT_OK, which it returns.
  template <class Fn>
  Vresult ForEachInpObj(int par, Fn&& fn) {
    const std::vector<Vkey>* keys = nullptr;
    Vresult rc = InpObjs(par, &keys);
    for (size_t i = 0; rc == VRESULT_OK && i < keys->size(); ++i)
      rc = fn((*keys)[i], static_cast<Vlong>(i));
    return rc;
  }

  // ---- Input controls (par 0..19) ---------------------------------------

  // Number of values; 0 for a parameter the caller left unset.
  Vlong CtrlNum(int par) const;
  // Value `i` (0 <= i < CtrlNum(par)), in place or from the array.
  const Vcpar& CtrlElem(int par, Vlong i) const;
  // Exactly one value of the type.
  Vresult GetLong(int par, Vlong* v) const;
  Vresult GetDouble(int par, double* v) const;
  Vresult GetString(int par, const char** s) const;
  // All values, each of the type (any number, also none).
  Vresult GetLongs(int par, std::vector<Vlong>& v) const;
  Vresult GetDoubles(int par, std::vector<double>& v) const;
  Vresult GetStrings(int par, std::vector<const char*>& v) const;

  // ---- Output objects (par 1..9) ----------------------------------------

  Vresult SetOutpObjs(int par, const std::vector<Vkey>& keys);
  Vresult SetOutpObj(int par, Vkey key) {
    return SetOutpObjs(par, std::vector<Vkey>{key});
  }

  // ---- Output controls (par 0..19) --------------------------------------

  Vresult SetOutpLong(int par, Vlong v);
  Vresult SetOutpDouble(int par, double v);
  Vresult SetOutpString(int par, const char* s);
  Vresult SetOutpLongs(int par, const std::vector<Vlong>& v);
  Vresult SetOutpDoubles(int par, const std::vector<double>& v);
  Vresult SetOutpStrings(int par, const std::vector<std::string>& v);
  Vresult SetOutpValues(int par, const CtrlValues& v);
  // No values at all (an empty tuple).
  Vresult SetOutpEmpty(int par);

 private:
  Vresult CheckPar(int direction, int par) const;
  const Vctuple* InpRecord(int par) const;
  Vctuple* OutpRecord(int par);
  // Releases what the record holds and fills it with `n` elements written
  // by `fill(elem, i)`; one element goes in place.
  template <class Fill>
  Vresult WriteOutp(int par, size_t n, Fill&& fill);
  Vresult CopyString(const char* s, char** out);

  void* proc_;
  VProcInstance* inst_;
  int32_t op_;
  std::array<std::vector<Vkey>, VMAX_INP_OBJ + 1> inp_keys_;
  std::array<bool, VMAX_INP_OBJ + 1> inp_expanded_{};
};

}  // namespace vexa
