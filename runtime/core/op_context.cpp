// Parameter access for operator implementations; the rules are described
// in op_context.h.
#include "op_context.h"

#include <cstring>
#include <utility>

#include "instance.h"
#include "memory.h"
#include "op_table.h"

namespace vexa {
namespace {

// Key tuples hold keys that existed before them, so they cannot form a
// cycle; the limit only keeps a damaged database from exhausting the stack.
constexpr int kMaxTupleDepth = 64;

// Appends the objects `key` stands for: itself, or a tuple's keys.
Vresult Expand(void* proc, Vkey key, int depth, std::vector<Vkey>& out) {
  if (!key || key == VKEY_UNDEF) return VRESULT_OK;
  Vkey* keys = nullptr;
  Vlong num = 0;
  Vresult rc = DBFetchTuple(proc, key, &keys, &num);
  if (rc == VERR_NOT_KEY_TUPLE) {
    out.push_back(key);
    return VRESULT_OK;
  }
  if (rc != VRESULT_OK) return rc;
  if (depth >= kMaxTupleDepth) return VERR_INTERNAL;
  for (Vlong i = 0; i < num && rc == VRESULT_OK; ++i)
    rc = Expand(proc, keys[i], depth + 1, out);
  return rc;
}

// Releases the references the operator handed over and did not place.
void ReleaseKeys(void* proc, const std::vector<Vkey>& keys) {
  for (Vkey k : keys)
    if (k && k != VKEY_UNDEF) DBDelObjectId(proc, k);
}

}  // namespace

CtrlValues& CtrlValues::Add(Vlong v) {
  items_.push_back(Item{VPAR_LONG, v, 0.0, {}});
  return *this;
}

CtrlValues& CtrlValues::Add(double v) {
  items_.push_back(Item{VPAR_DOUBLE, 0, v, {}});
  return *this;
}

CtrlValues& CtrlValues::Add(std::string s) {
  items_.push_back(Item{VPAR_STRING, 0, 0.0, std::move(s)});
  return *this;
}

OpContext::OpContext(void* proc)
    : proc_(proc), inst_(static_cast<VProcInstance*>(proc)), op_(inst_->op) {}

bool OpContext::global() const { return inst_->call->global != 0; }

Vresult OpContext::CheckPar(int direction, int par) const {
  const int first = (direction == kInpObj || direction == kOutpObj) ? 1 : 0;
  const int count = kOperatorTable[op_].num[direction];
  return (par >= first && par < first + count) ? VRESULT_OK : VERR_PAR_INDEX;
}

// ---- Input objects ---------------------------------------------------------

Vresult OpContext::InpObjs(int par, const std::vector<Vkey>** keys) {
  static const std::vector<Vkey> kNone;
  *keys = &kNone;
  Vresult rc = CheckPar(kInpObj, par);
  if (rc != VRESULT_OK) return rc;
  std::vector<Vkey>& expanded = inp_keys_[par];
  if (!inp_expanded_[par]) {
    const VParamBlock& p = *inst_->params;
    expanded.clear();
    for (Vlong i = 0; rc == VRESULT_OK && p.inp_obj_keys[par] && i < p.inp_obj_num[par]; ++i)
      rc = Expand(proc_, p.inp_obj_keys[par][i], 0, expanded);
    if (rc != VRESULT_OK) {
      expanded.clear();
      return rc;
    }
    inp_expanded_[par] = true;
  }
  *keys = &expanded;
  return VRESULT_OK;
}

Vresult OpContext::InpObjCount(int par, Vlong* num) {
  const std::vector<Vkey>* keys = nullptr;
  Vresult rc = InpObjs(par, &keys);
  *num = static_cast<Vlong>(keys->size());
  return rc;
}

Vkey OpContext::InpObjKey(int par, Vlong i) const {
  if (par < 1 || par > VMAX_INP_OBJ || !inp_expanded_[par]) return VKEY_UNDEF;
  const std::vector<Vkey>& keys = inp_keys_[par];
  return (i >= 0 && i < static_cast<Vlong>(keys.size())) ? keys[i] : VKEY_UNDEF;
}

Vresult OpContext::InpObjSingle(int par, Vkey* key) {
  *key = VKEY_UNDEF;
  const std::vector<Vkey>* keys = nullptr;
  Vresult rc = InpObjs(par, &keys);
  if (rc != VRESULT_OK) return rc;
  if (keys->size() != 1) return VERR_OBJ_NUM(par);
  *key = keys->front();
  return VRESULT_OK;
}

// ---- Input controls ----------------------------------------------------------

const Vctuple* OpContext::InpRecord(int par) const {
  if (CheckPar(kInpCtrl, par) != VRESULT_OK) return nullptr;
  return inst_->params->inp_ctrl[par];
}

Vlong OpContext::CtrlNum(int par) const {
  const Vctuple* rec = InpRecord(par);
  return rec ? rec->num : 0;
}

const Vcpar& OpContext::CtrlElem(int par, Vlong i) const {
  static const Vcpar kUndefined = {};
  const Vctuple* rec = InpRecord(par);
  if (!rec || i < 0 || i >= rec->num) return kUndefined;
  if (rec->type != VPAR_MIXED) return *reinterpret_cast<const Vcpar*>(rec);
  return rec->elem ? rec->elem[i] : kUndefined;
}

namespace {

// Reads every value of a control parameter with `read`, which returns false
// for a value of the wrong type.
template <class T, class Read>
Vresult ReadAll(const OpContext& ctx, int par, std::vector<T>& out, Read&& read) {
  out.clear();
  const Vlong n = ctx.CtrlNum(par);
  out.reserve(static_cast<size_t>(n));
  for (Vlong i = 0; i < n; ++i) {
    T v{};
    if (!read(ctx.CtrlElem(par, i), &v)) return VERR_CTRL_TYPE(par);
    out.push_back(v);
  }
  return VRESULT_OK;
}

// Reads the one value of a control parameter.
template <class T, class Read>
Vresult ReadOne(const OpContext& ctx, int par, T* v, Read&& read) {
  if (ctx.CtrlNum(par) != 1) return VERR_CTRL_NUM(par);
  return read(ctx.CtrlElem(par, 0), v) ? VRESULT_OK : VERR_CTRL_TYPE(par);
}

bool ReadLong(const Vcpar& e, Vlong* v) {
  if (e.type != VPAR_LONG) return false;
  *v = e.par.l;
  return true;
}

bool ReadDouble(const Vcpar& e, double* v) {
  if (e.type == VPAR_LONG) *v = static_cast<double>(e.par.l);
  else if (e.type == VPAR_DOUBLE) *v = e.par.d;
  else return false;
  return true;
}

bool ReadString(const Vcpar& e, const char** v) {
  if (e.type != VPAR_STRING || !e.par.s) return false;
  *v = e.par.s;
  return true;
}

}  // namespace

Vresult OpContext::GetLong(int par, Vlong* v) const {
  if (Vresult rc = CheckPar(kInpCtrl, par); rc != VRESULT_OK) return rc;
  return ReadOne(*this, par, v, ReadLong);
}

Vresult OpContext::GetDouble(int par, double* v) const {
  if (Vresult rc = CheckPar(kInpCtrl, par); rc != VRESULT_OK) return rc;
  return ReadOne(*this, par, v, ReadDouble);
}

Vresult OpContext::GetString(int par, const char** s) const {
  if (Vresult rc = CheckPar(kInpCtrl, par); rc != VRESULT_OK) return rc;
  return ReadOne(*this, par, s, ReadString);
}

Vresult OpContext::GetLongs(int par, std::vector<Vlong>& v) const {
  if (Vresult rc = CheckPar(kInpCtrl, par); rc != VRESULT_OK) return rc;
  return ReadAll(*this, par, v, ReadLong);
}

Vresult OpContext::GetDoubles(int par, std::vector<double>& v) const {
  if (Vresult rc = CheckPar(kInpCtrl, par); rc != VRESULT_OK) return rc;
  return ReadAll(*this, par, v, ReadDouble);
}

Vresult OpContext::GetStrings(int par, std::vector<const char*>& v) const {
  if (Vresult rc = CheckPar(kInpCtrl, par); rc != VRESULT_OK) return rc;
  return ReadAll(*this, par, v, ReadString);
}

// ---- Output objects ------------------------------------------------------------

Vresult OpContext::SetOutpObjs(int par, const std::vector<Vkey>& keys) {
  Vresult rc = CheckPar(kOutpObj, par);
  if (rc != VRESULT_OK) {
    ReleaseKeys(proc_, keys);
    return rc;
  }
  VParamBlock& p = *inst_->params;
  InstanceData& data = DataOf(inst_);
  // What an earlier call placed here was not taken by anybody yet.
  for (Vlong i = 0; p.outp_obj_keys[par] && i < p.outp_obj_num[par]; ++i)
    DBDelObjectId(proc_, p.outp_obj_keys[par][i]);
  p.outp_obj_num[par] = 0;
  p.outp_obj_keys[par] = &data.outp_first[par];
  data.outp_many[par].clear();

  if (global() && keys.size() != 1) {
    // Procedural mode: one key per parameter, so several objects (or none)
    // travel as a key tuple, which holds references of its own.
    Vkey tuple = VKEY_UNDEF;
    rc = DBStoreTuple(proc_, keys.data(), static_cast<Vlong>(keys.size()), &tuple);
    ReleaseKeys(proc_, keys);
    if (rc != VRESULT_OK) return rc;
    data.outp_first[par] = tuple;
    p.outp_obj_num[par] = 1;
    return VRESULT_OK;
  }
  if (keys.size() <= 1) {
    if (!keys.empty()) data.outp_first[par] = keys.front();
    p.outp_obj_num[par] = static_cast<Vlong>(keys.size());
    return VRESULT_OK;
  }
  data.outp_many[par] = keys;
  p.outp_obj_keys[par] = data.outp_many[par].data();
  p.outp_obj_num[par] = static_cast<Vlong>(keys.size());
  return VRESULT_OK;
}

// ---- Output controls -------------------------------------------------------------

Vctuple* OpContext::OutpRecord(int par) {
  if (CheckPar(kOutpCtrl, par) != VRESULT_OK) return nullptr;
  VParamBlock& p = *inst_->params;
  if (!p.outp_ctrl[par]) p.outp_ctrl[par] = &p.outp_ctrl_rec[par];
  return p.outp_ctrl[par];
}

Vresult OpContext::CopyString(const char* s, char** out) {
  const size_t n = std::strlen(s ? s : "") + 1;
  Vresult rc = VEXA_ALLOC(n, out);
  if (rc == VRESULT_OK) std::memcpy(*out, s ? s : "", n);
  return rc;
}

template <class Fill>
Vresult OpContext::WriteOutp(int par, size_t n, Fill&& fill) {
  Vctuple* rec = OutpRecord(par);
  if (!rec) return VERR_PAR_INDEX;
  VctClearElem(proc_, rec);
  if (n == 0) {
    rec->type = VPAR_MIXED;
    return VRESULT_OK;
  }
  if (n == 1) {
    Vcpar* in_place = reinterpret_cast<Vcpar*>(rec);
    Vresult rc = fill(in_place, 0);
    if (rc != VRESULT_OK) {
      VctClearElem(proc_, rec);
      return rc;
    }
    rec->num = 1;
    return VRESULT_OK;
  }
  Vcpar* elem = nullptr;
  Vresult rc = VEXA_ALLOC(n * sizeof(Vcpar), &elem);
  if (rc != VRESULT_OK) return rc;
  std::memset(elem, 0, n * sizeof(Vcpar));
  rec->type = VPAR_MIXED;
  rec->elem = elem;
  rec->capacity = static_cast<Vlong>(n);
  for (size_t i = 0; i < n && rc == VRESULT_OK; ++i) {
    rc = fill(&elem[i], i);
    rec->num = static_cast<Vlong>(i + 1);  // so a failure releases what exists
  }
  if (rc != VRESULT_OK) VctClearElem(proc_, rec);
  return rc;
}

namespace {

Vresult PutLong(Vcpar* e, Vlong v) {
  e->par.l = v;
  e->type = VPAR_LONG;
  return VRESULT_OK;
}

Vresult PutDouble(Vcpar* e, double v) {
  e->par.d = v;
  e->type = VPAR_DOUBLE;
  return VRESULT_OK;
}

}  // namespace

Vresult OpContext::SetOutpLong(int par, Vlong v) {
  return WriteOutp(par, 1, [v](Vcpar* e, size_t) { return PutLong(e, v); });
}

Vresult OpContext::SetOutpDouble(int par, double v) {
  return WriteOutp(par, 1, [v](Vcpar* e, size_t) { return PutDouble(e, v); });
}

Vresult OpContext::SetOutpString(int par, const char* s) {
  return WriteOutp(par, 1, [this, s](Vcpar* e, size_t) {
    e->type = VPAR_STRING;
    return CopyString(s, &e->par.s);
  });
}

Vresult OpContext::SetOutpLongs(int par, const std::vector<Vlong>& v) {
  return WriteOutp(par, v.size(), [&v](Vcpar* e, size_t i) { return PutLong(e, v[i]); });
}

Vresult OpContext::SetOutpDoubles(int par, const std::vector<double>& v) {
  return WriteOutp(par, v.size(), [&v](Vcpar* e, size_t i) { return PutDouble(e, v[i]); });
}

Vresult OpContext::SetOutpStrings(int par, const std::vector<std::string>& v) {
  return WriteOutp(par, v.size(), [this, &v](Vcpar* e, size_t i) {
    e->type = VPAR_STRING;
    return CopyString(v[i].c_str(), &e->par.s);
  });
}

Vresult OpContext::SetOutpValues(int par, const CtrlValues& v) {
  return WriteOutp(par, v.items_.size(), [this, &v](Vcpar* e, size_t i) {
    const CtrlValues::Item& item = v.items_[i];
    if (item.type == VPAR_LONG) return PutLong(e, item.l);
    if (item.type == VPAR_DOUBLE) return PutDouble(e, item.d);
    e->type = VPAR_STRING;
    return CopyString(item.s.c_str(), &e->par.s);
  });
}

Vresult OpContext::SetOutpEmpty(int par) {
  return WriteOutp(par, 0, [](Vcpar*, size_t) { return VRESULT_OK; });
}

}  // namespace vexa
