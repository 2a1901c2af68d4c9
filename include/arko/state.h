/*
 * arko: per-thread state of vector mathematics.
 *
 * Each thread has its own mode word, last element status and error callback. They start at the defaults on a
 * thread's first use and end with the thread. No call here fails; a process in which a thread's record cannot
 * be allocated ends with exit code 3 after a message on standard error.
 *
 * Every operation has two names, arko_zur_kernel_* and _zur*, which are one entry.
 */
#ifndef ARKO_STATE_H
#define ARKO_STATE_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/*
 * The mode word. Fields are independent: setting one leaves the others.
 *
 * Accuracy, 0x0000000F: which slot of a kernel table arko_zur_kernel_GetTTableIndex names. The suffix of an
 * exported function's name chooses its level without looking here.
 */
#define ZUR_LA 0x00000001u /* low accuracy: faster, a few ulp */
#define ZUR_HA 0x00000002u /* high accuracy, the default: below 1 ulp */
#define ZUR_EP 0x00000003u /* enhanced performance: about half the bits of the type */
#define ZUR_ACCURACY_MASK 0x0000000Fu

/* Precision consistency, 0x00000030: set by the environment variable only, held for the caller, not acted on.
 */
#define ZUR_DEFAULT_PRECISION 0x00000000u
#define ZUR_FLOAT_CONSISTENT 0x00000010u
#define ZUR_DOUBLE_CONSISTEN 0x00000020u
#define ZUR_RESTORE 0x00000030u
#define ZUR_PRECISION_MASK 0x00000030u

/*
 * Error mode, 0x0000FF00: what an exceptional element does. Bits combine, except for IGNORE and NOERR, which
 * hold only as the whole byte.
 */
#define ZUR_ERRMODE_IGNORE 0x00000100u   /* store the status, nothing else */
#define ZUR_ERRMODE_ERRNO 0x00000200u    /* set errno */
#define ZUR_ERRMODE_STDERR 0x00000400u   /* print to standard error */
#define ZUR_ERRMODE_EXCEPT 0x00000800u   /* raise the x87 condition, trapping where the trap field says so */
#define ZUR_ERRMODE_CALLBACK 0x00001000u /* call the thread's callback */
#define ZUR_ERRMODE_NOERR 0x00002000u    /* store and report nothing */
#define ZUR_ERRMODE_DEFAULT (ZUR_ERRMODE_ERRNO | ZUR_ERRMODE_CALLBACK | ZUR_ERRMODE_EXCEPT)
#define ZUR_ERRMODE_MASK 0x0000FF00u

/* Denormals inside kernels, 0x003C0000. Neither value set means the same as KEEP. */
#define ZUR_FLUSH_DENORMALS 0x00280000u /* denormal arguments count as zero, denormal results become zero */
#define ZUR_KEEP_DENORMALS 0x00140000u
#define ZUR_DENORMALS_MASK 0x003C0000u

/* Traps, 0x0F000000: conditions that arrive as SIGFPE when ZUR_ERRMODE_EXCEPT raises them. Bits combine. */
#define ZUR_TRAP_INVALID 0x01000000u
#define ZUR_TRAP_DIVBYZERO 0x02000000u
#define ZUR_TRAP_OVERFLOW 0x04000000u
#define ZUR_TRAP_UNDERFLOW 0x08000000u
#define ZUR_TRAP_MASK 0x0F000000u

/* Element statuses. Kernels give 1 to 4; those below 0 are for callers that check arguments before they call, and
 * come from no function of this library. */
#define ZUR_STATUS_OK 0
#define ZUR_STATUS_BAD_ARGUMENT (-1)
#define ZUR_STATUS_BAD_ACCESS (-2)
#define ZUR_STATUS_DOMAIN 1      /* argument outside the function's domain */
#define ZUR_STATUS_SINGULARITY 2 /* pole of the function */
#define ZUR_STATUS_OVERFLOW 3
#define ZUR_STATUS_UNDERFLOW 4 /* the result is zero or below the smallest normal number */

/*
 * What a callback receives of one exceptional element. Single values are widened; the imaginary fields are
 * filled for complex functions only. A function of one argument repeats it in Arg2, one of one result repeats
 * that in Res2. The record lives as long as the call.
 */
struct ZurErrorContext {
  int32_t Code;  /* status */
  int32_t Index; /* element, counted from the interface input vector where one is set */
  double Arg1, Arg2, Res1, Res2;
  char FuncName[64]; /* such as "vsExp", NUL-terminated */
  int32_t FuncNameLen;
  double Arg1Im, Arg2Im, Res1Im, Res2Im;
};

/*
 * A callback runs on the kernel's thread, inside the kernel, with floating-point exceptions masked. Returning
 * 0 stores Res1 and Res2 of the record as the element's results and lets errno, printing and exception
 * follow; any other value ends the report and drops changes to the record.
 *
 * A kernel reads up to 32 elements ahead. So what a callback writes to arguments behind its own may come too late for
 * the next 31, and what it writes to results other than by Res1 and Res2 may be written over. A mode or a callback
 * that it sets holds from the next report on, or for the rest of this one already; but whether denormals are flushed,
 * and in the exponentials whether the error mode is NOERR, was read when the kernel began. It may call kernels: their
 * elements are reported as any others, to the callback that is set, and the last status is theirs.
 */
typedef int32_t (*ZurErrorCallBack)(struct ZurErrorContext*);

/* Processor tier of this module: 5, SSE through SSSE3. */
int32_t dll_cpu_version(void);

/* Slot of a kernel table for the thread's accuracy: 0 LA, 1 HA, 2 EP. The second form reads the given word.
 */
int32_t arko_zur_kernel_GetTTableIndex(void);
int32_t arko_zur_kernel_GetTTableIndexM(uint32_t ignored, uint32_t mode);

/*
 * The mode word. The first read on a thread takes it from the environment variable ARKO_ZURMODE: keywords
 * such as ZUR_EP,ZUR_ERRMODE_NOERR joined by commas without blanks; a text with anything else in it, or of 256
 * characters or more, counts as absent, without a message. The default is ZUR_HA | ZUR_ERRMODE_DEFAULT.
 */
uint32_t arko_zur_kernel_GetMode(void);
uint32_t _zurGetMode(void);

/*
 * Replaces every field of the mode word that is not 0 in `newmode` and returns the word before. A field
 * cannot be set back to 0; the precision field cannot be set.
 */
uint32_t arko_zur_kernel_SetMode(uint32_t newmode);
uint32_t _zurSetMode(uint32_t newmode);

/* The status of the last exceptional element. Set and Clear return the one before; success does not clear it.
 */
int32_t arko_zur_kernel_GetErrStatus(void);
int32_t _zurGetErrStatus(void);
int32_t arko_zur_kernel_SetErrStatus(int32_t status);
int32_t _zurSetErrStatus(int32_t status);
int32_t arko_zur_kernel_ClearErrStatus(void);
int32_t _zurClearErrStatus(void);

/*
 * The error callback, or null. Set and Clear return the one before; setting one switches ZUR_ERRMODE_CALLBACK
 * on in the mode word, clearing switches it off unless it is the only bit of the error mode.
 */
ZurErrorCallBack arko_zur_kernel_GetErrorCallBack(void);
ZurErrorCallBack _zurGetErrorCallBack(void);
ZurErrorCallBack arko_zur_kernel_SetErrorCallBack(ZurErrorCallBack cb);
ZurErrorCallBack _zurSetErrorCallBack(ZurErrorCallBack cb);
ZurErrorCallBack arko_zur_kernel_ClearErrorCallBack(void);
ZurErrorCallBack _zurClearErrorCallBack(void);

/*
 * Start of the whole input vector of which kernels are handed pieces: reports then count elements from there.
 * Null, the default, counts from the kernel's own first element. Returns `p`.
 */
void* arko_zur_kernel_SetInterfInputVectorPointer(void* p);
void* _zurSetInterfInputVectorPointer(void* p);

#ifdef __cplusplus
}
#endif
#endif
