/* The C interface of the vexa runtime: the functions and data items the
 * interface library imports, plus a few runtime settings for applications
 * and tests. All functions that can fail return a result code; 2 is
 * success. */
#ifndef VEXA_RUNTIME_H
#define VEXA_RUNTIME_H

#include "vexa/types.h"

#if defined(VEXA_BUILDING_RUNTIME)
#define VEXA_API __attribute__((visibility("default")))
#else
#define VEXA_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Operator instances ---------------------------------------------- */

/* Makes an instance of operator `op` and writes it to *proc. */
VEXA_API Vresult VCreateVProc(int32_t op, void** proc);
/* Runs the operator of an instance; returns the operator's code. */
VEXA_API Vresult CCallVProc(void* proc);
/* Deletes an instance; `err` is the code of the call. Releases key arrays
 * that were allocated on the instance, never output control records. */
VEXA_API Vresult VDeleteVProc(void* proc, int32_t reserved, Vresult err);
/* A context for database calls outside an operator (op is -1). */
VEXA_API Vresult VGetVProc(int32_t op, void** proc);
VEXA_API Vresult VPutVProc(void* proc);
/* Store a key for input object `par`: any key, or a single object. */
VEXA_API Vresult CStoreInpKeyPar(void* proc, int32_t par, Vkey key);
VEXA_API Vresult CStoreInpKeyParSingle(void* proc, int32_t par, Vkey key);
/* Name to index. */
VEXA_API Vresult VFindProcNumber(void* proc, const char* name, int32_t* op);
VEXA_API int VOpIdIsValid(int32_t op);
/* Operator name by index, and by instance (also after deletion). */
VEXA_API const char* VOIGet_LogicalName(int32_t op);
VEXA_API const char* VPHGet_LogicalName(void* proc);

/* ---- Control data ---------------------------------------------------- */

/* Releases the storage of one output record. */
VEXA_API Vresult VctClearElem(void* proc, Vctuple* rec);
/* Turns a record that holds one value in place into an element array. */
VEXA_API Vresult VctConvert2Mixed(void* proc, Vctuple* rec, int32_t mode);

/* ---- Memory ----------------------------------------------------------- */

/* Both allocation forms return zero-filled memory. */
VEXA_API Vresult VXAlloc(void* proc, size_t size, void** ptr);
VEXA_API Vresult VXAllocMemCheck(void* proc, size_t size, const char* file,
                                 int32_t line, int32_t kind, void** ptr);
/* The same blocks with their bytes not cleared, for callers that write
 * every byte they later read; freed by either free form. Not among the
 * imports of the interface library's record protocol. */
VEXA_API Vresult VXAllocRaw(void* proc, size_t size, void** ptr);
VEXA_API Vresult VXAllocRawMemCheck(void* proc, size_t size, const char* file,
                                    int32_t line, int32_t kind, void** ptr);
/* Both free forms accept null. */
VEXA_API Vresult VXFree(void* proc, void* ptr);
VEXA_API Vresult VXFreeMemCheck(void* proc, void* ptr, const char* file,
                                int32_t line);
/* Non-zero selects the checked forms in the interface library. */
VEXA_API extern unsigned char VTraceMemory;
/* A string a record may keep pointing at after its text was taken. */
VEXA_API extern char* s_default;

/* ---- Texts ------------------------------------------------------------ */

/* Writes the text of `code` into `buffer` (at least 1,024 bytes). */
VEXA_API void VErrorMessage(Vresult code, char* buffer);
/* Prints one error text to standard error. */
VEXA_API void IOWIN32PrintErrorMessage(const char* text);

/* ---- Object database -------------------------------------------------- */

VEXA_API Vresult DBCopyObjectId(void* proc, Vkey key, Vkey* copy);
VEXA_API Vresult DBDelObjectId(void* proc, Vkey key);
/* Makes a key tuple (ID 4) of `num` keys; each key gains a reference. */
VEXA_API Vresult DBStoreTuple(void* proc, const Vkey* keys, Vlong num,
                              Vkey* tuple);
/* Reads a key tuple; the array belongs to the runtime. */
VEXA_API Vresult DBFetchTuple(void* proc, Vkey tuple, Vkey** keys,
                              Vlong* num);
VEXA_API Vresult DBGetRLPtr(void* proc, Vkey key, Vrlregion** rl);
VEXA_API Vresult DBCountRegion(Vlong* num);
VEXA_API Vresult DBCountImage(Vlong* num);
VEXA_API Vresult DBNumImaRefs(Vkey key, Vlong* num);
/* Key of a named system object; "empty" is the empty object. */
VEXA_API Vkey CGetKeyName(const char* name);

/* ---- Region measures ---------------------------------------------------- */

VEXA_API void VRLCalcArea(const Vrlregion* rl, Vlong* area, double* row,
                          double* col);
VEXA_API Vresult VRLMoments(void* proc, const Vrlregion* rl, double* m11,
                            double* m20, double* m02, double* ia, double* ib);
VEXA_API Vresult VRLEllipseAxis(void* proc, const Vrlregion* rl, double* ra,
                                double* rb, double* phi);
VEXA_API Vresult VRLExcentricity(void* proc, const Vrlregion* rl,
                                 double* anisometry, double* bulkiness,
                                 double* structure_factor);

/* ---- Random numbers and time ---------------------------------------------- */

VEXA_API double VDrand48(void);
VEXA_API void VSrand48(long seed);
VEXA_API Vlong Vtime(void);

/* ---- Window stack --------------------------------------------------------- */

VEXA_API Vresult VWindowStackPush(Vlong window);
VEXA_API Vresult VWindowStackPop(Vlong* window);
VEXA_API Vresult VWindowStackGetActive(Vlong* window);
VEXA_API Vresult VWindowStackSetActive(Vlong window);
VEXA_API Vresult VWindowStackIsOpen(Vlong* open);
VEXA_API Vresult VWindowStackCloseAll(void);

/* ---- Runtime settings (not imported by the interface library) ------------- */

/* While set, new instances carry VPROC_RAISE_ON_ERROR, so that procedural
 * functions raise operator failures instead of returning them. Also
 * reachable as set_system('raise_on_error', 'true'|'false') once that
 * operator exists. Process-wide; default off. */
VEXA_API void VSetRaiseOnError(int on);
VEXA_API int VGetRaiseOnError(void);

/* Number of operators in the table (2,075). */
VEXA_API int32_t VOperatorCount(void);

/* The signature of an operator implementation. */
typedef Vresult (*VOperatorFn)(void* proc);

/* Replaces the implementation at `op` for the calling process and returns
 * the one that was there (null for "not available"). Passing null restores
 * "not available". Meant for tests of the call frame. */
VEXA_API VOperatorFn VSetOperatorFn(int32_t op, VOperatorFn fn);

/* Memory tracing while VTraceMemory is set: number of live checked
 * allocations, and a report of them ("file:line size" per line) written
 * into `buffer` (truncated to `size`). Returns the number of live blocks. */
VEXA_API Vlong VMemTraceLiveCount(void);
VEXA_API Vlong VMemTraceReport(char* buffer, size_t size);
/* Number of allocations of both forms since the process started; tests
 * use the difference around a call to prove that it allocates nothing. */
VEXA_API Vlong VMemTraceAllocCount(void);

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* VEXA_RUNTIME_H */
