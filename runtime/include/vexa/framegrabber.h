/* Callbacks of image acquisition devices (set_framegrabber_callback). */
#ifndef VEXA_FRAMEGRABBER_H
#define VEXA_FRAMEGRABBER_H

#include "vexa/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Called by the runtime on the grabbing thread. For "transfer_end" (the
 * one type the "File" interface knows) it runs after each image is read
 * and before the grab returns: `acq_handle` is the device handle's value,
 * `context` the path of the file just read (const char*, valid during the
 * call), `user_context` what set_framegrabber_callback was given. A result
 * other than 2 (OK) fails the grab with that code and drops the image. The
 * callback must not close its own device. */
typedef Vresult (*VFramegrabberCallback)(void* acq_handle, void* context, void* user_context);

#ifdef __cplusplus
}
#endif

#endif
