/* Basic types and shared record layouts of the vexa runtime.
 *
 * The records below are read and written in place by both the runtime and
 * the interface library, so their byte layout is fixed. Every offset that
 * the other side relies on is pinned with a static assertion at the end of
 * this file; change a field and the build tells you which contract broke. */
#ifndef VEXA_TYPES_H
#define VEXA_TYPES_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef int64_t Vlong;
typedef uint32_t Vresult;

/* A key names an object of the database. 1 is "no object"; 0 is accepted
 * at every boundary and turned into 1. */
typedef void* Vkey;
#define VKEY_UNDEF ((Vkey)(uintptr_t)1)

/* Result codes the interface library knows by number. */
#define VRESULT_OK 2u
#define VRESULT_OUT_COUNT 7001u
#define VRESULT_OUT_TYPE 7002u
#define VRESULT_OUT_OBJ_COUNT 7200u
#define VRESULT_OUT_NULL 7403u

/* Value types of Vcpar, Vctuple and VCtrlVal. */
#define VPAR_UNDEF 0
#define VPAR_LONG 1
#define VPAR_DOUBLE 2
#define VPAR_STRING 4
#define VPAR_MIXED 8

/* One control value: 16 bytes, also the element stride of value arrays. */
typedef struct Vcpar {
  union {
    Vlong l;
    double d;
    char* s;
  } par;
  int32_t type;
  int32_t pad_;
} Vcpar;

/* One control parameter of an operator instance: 48 bytes. When the record
 * holds a single value in place, capacity is 0 and elem points at the
 * record itself, whose first 16 bytes then read as a Vcpar. */
typedef struct Vctuple {
  union {
    Vlong l;
    double d;
    char* s;
  } val;
  int32_t type;
  int32_t pad0_;
  Vlong num;
  Vlong capacity;
  int32_t borrowed;
  int32_t pad1_;
  Vcpar* elem;
} Vctuple;

/* Parameter limits of one operator instance. Object parameters count from
 * 1, control parameters from 0. */
#define VMAX_INP_OBJ 9
#define VMAX_OUTP_OBJ 9
#define VMAX_INP_CTRL 20
#define VMAX_OUTP_CTRL 20

/* The parameter block of an instance. */
typedef struct VParamBlock {
  Vkey* inp_obj_keys[20];           /*    0 + 8*i */
  Vlong inp_obj_num[10];            /*  160 + 8*i */
  uint8_t inp_obj_allocated[24];    /*  240 + i: key array came from VXAlloc */
  Vctuple* inp_ctrl[20];            /*  264 + 8*i */
  Vctuple inp_ctrl_rec[20];         /*  424 + 48*i */
  uint8_t reserved0_[8];            /* 1384 */
  Vkey* outp_obj_keys[10];          /* 1392 + 8*i */
  Vlong outp_obj_num[20];           /* 1472 + 8*i */
  Vctuple** outp_ctrl_table;        /* 1632: points at outp_ctrl */
  Vctuple* outp_ctrl[20];           /* 1640 + 8*i */
  Vctuple outp_ctrl_rec[20];        /* 1800 + 48*i */
} VParamBlock;

/* Call record of an instance; the interface writes the global byte. */
typedef struct VCallRecord {
  int32_t op;
  uint8_t global; /* 1: procedural face, one key per object parameter */
  uint8_t reserved_[3];
} VCallRecord;

#define VPROC_RAISE_ON_ERROR 0x20

/* Context record of an instance; the interface reads the flags byte. */
typedef struct VContextRecord {
  uint8_t reserved_[48];
  uint8_t flags;
  uint8_t reserved1_[7];
} VContextRecord;

/* The operator instance. Offsets 32, 40 and 72 are shared; the rest is the
 * runtime's own bookkeeping. */
typedef struct VProcInstance {
  uint32_t magic;
  int32_t op;
  uint32_t state;
  uint32_t reserved0_;
  void* runtime_data; /* owned by the runtime: allocations, scratch */
  void* reserved1_;
  VParamBlock* params;    /* 32 */
  VCallRecord* call;      /* 40 */
  void* reserved2_[3];    /* 48 */
  VContextRecord* context; /* 72 */
} VProcInstance;

/* Record behind a key: the fields the interface reads directly. */
#define VOBJ_TAG_BASE 1234567890
typedef struct VKeyRecordHead {
  int32_t tag;        /* 0: class ID + VOBJ_TAG_BASE */
  int32_t reserved0_;
  uint64_t reserved1_;
  int32_t tuple_num;  /* 16: key tuples (ID 4): number of keys */
  int32_t reserved2_;
  uint64_t reserved3_;
  uint16_t channels;  /* 32: images: number of channels */
  uint16_t reserved4_[3];
} VKeyRecordHead;

/* Object class IDs of the database. */
#define VOBJ_REGION 1
#define VOBJ_IMAGE 2
#define VOBJ_ICONIC 3
#define VOBJ_TUPLE 4
#define VOBJ_XLD_CONT 5
#define VOBJ_XLD_POLY 6
#define VOBJ_XLD_PARA 7
#define VOBJ_XLD_MOD_PARA 8
#define VOBJ_XLD_EXT_PARA 9

/* One chord of a run-length region: row, first and last column. */
typedef struct Vrlchord {
  int16_t r;
  int16_t cb;
  int16_t ce;
} Vrlchord;

/* The run-length view of a region handed out by DBGetRLPtr. */
typedef struct Vrlregion {
  int32_t reserved0_;
  int32_t num;               /*   4: number of chords */
  uint8_t reserved1_[9];
  uint8_t flags;             /*  17: bit 7: area and centre valid */
  uint8_t reserved2_[150];
  double row;                /* 168 */
  double col;                /* 176 */
  int32_t area;              /* 184 */
  uint8_t reserved3_[92];
  Vrlchord* rl;              /* 280 */
} Vrlregion;
#define VRL_FEATURES_VALID 0x80

#ifdef __cplusplus
} /* extern "C" */

#define VEXA_OFFSET_CHECK(T, f, off) \
  static_assert(offsetof(T, f) == (off), #T "." #f " must lie at byte " #off)
#else
#define VEXA_OFFSET_CHECK(T, f, off) \
  _Static_assert(offsetof(T, f) == (off), #T "." #f " must lie at byte " #off)
#endif

VEXA_OFFSET_CHECK(Vcpar, type, 8);
VEXA_OFFSET_CHECK(Vctuple, type, 8);
VEXA_OFFSET_CHECK(Vctuple, num, 16);
VEXA_OFFSET_CHECK(Vctuple, capacity, 24);
VEXA_OFFSET_CHECK(Vctuple, borrowed, 32);
VEXA_OFFSET_CHECK(Vctuple, elem, 40);
VEXA_OFFSET_CHECK(VParamBlock, inp_obj_num, 160);
VEXA_OFFSET_CHECK(VParamBlock, inp_obj_allocated, 240);
VEXA_OFFSET_CHECK(VParamBlock, inp_ctrl, 264);
VEXA_OFFSET_CHECK(VParamBlock, inp_ctrl_rec, 424);
VEXA_OFFSET_CHECK(VParamBlock, outp_obj_keys, 1392);
VEXA_OFFSET_CHECK(VParamBlock, outp_obj_num, 1472);
VEXA_OFFSET_CHECK(VParamBlock, outp_ctrl_table, 1632);
VEXA_OFFSET_CHECK(VParamBlock, outp_ctrl, 1640);
VEXA_OFFSET_CHECK(VParamBlock, outp_ctrl_rec, 1800);
VEXA_OFFSET_CHECK(VCallRecord, global, 4);
VEXA_OFFSET_CHECK(VContextRecord, flags, 48);
VEXA_OFFSET_CHECK(VProcInstance, params, 32);
VEXA_OFFSET_CHECK(VProcInstance, call, 40);
VEXA_OFFSET_CHECK(VProcInstance, context, 72);
VEXA_OFFSET_CHECK(VKeyRecordHead, tuple_num, 16);
VEXA_OFFSET_CHECK(VKeyRecordHead, channels, 32);
VEXA_OFFSET_CHECK(Vrlregion, num, 4);
VEXA_OFFSET_CHECK(Vrlregion, flags, 17);
VEXA_OFFSET_CHECK(Vrlregion, row, 168);
VEXA_OFFSET_CHECK(Vrlregion, col, 176);
VEXA_OFFSET_CHECK(Vrlregion, area, 184);
VEXA_OFFSET_CHECK(Vrlregion, rl, 280);

#ifdef __cplusplus
static_assert(sizeof(Vcpar) == 16, "Vcpar is 16 bytes");
static_assert(sizeof(Vctuple) == 48, "Vctuple is 48 bytes");
static_assert(sizeof(Vrlchord) == 6, "a chord is three int16");
#endif

#endif /* VEXA_TYPES_H */
