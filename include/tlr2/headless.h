/* Headless windows: where the driver runs without a window system, an application makes its windows here and hands the
   handle to the wgl entries as a device context. */
#ifndef TLR2_HEADLESS_H
#define TLR2_HEADLESS_H

#include <stdint.h>

#if defined(__GNUC__)
#define TLR2_HEADLESS_API __attribute__((visibility("default")))
#else
#define TLR2_HEADLESS_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Makes a window with a client area of `width` by `height` pixels. The handle serves as the device context. Null when a
   size is not positive. */
TLR2_HEADLESS_API void* tlr2HeadlessCreateWindow(int32_t width, int32_t height);

/* Ends a window. Contexts made for it must be deleted before. Null, or what is no window, does nothing. */
TLR2_HEADLESS_API void tlr2HeadlessDestroyWindow(void* hdc);

/* Changes the client size, as a user who drags a border does. 0 if `hdc` is no window or a size is not positive. */
TLR2_HEADLESS_API int32_t tlr2HeadlessResizeWindow(void* hdc, int32_t width, int32_t height);

/* The size of the picture last shown, 0 by 0 before the first; returns 0 if `hdc` is no window. Either pointer may be
   null. */
TLR2_HEADLESS_API int32_t tlr2HeadlessPictureSize(void* hdc, int32_t* width, int32_t* height);

/* Copies the picture last shown, after post-process: rows from top to bottom, tight, each pixel 0xAARRGGBB. At most
   `pixelCount` pixels are written; returns how many the picture has, 0 before the first. The adjustments are those that
   the settings held when the picture was shown. They are made by this call, so a swap whose picture nobody copies costs
   no pass over it. Any thread may ask at any time; a swap waits until the copy is finished. The picture stays when its
   context is deleted. */
TLR2_HEADLESS_API uint32_t tlr2HeadlessCopyPicture(void* hdc, uint32_t* pixels, uint32_t pixelCount);

/* How many pictures the window has shown. */
TLR2_HEADLESS_API uint32_t tlr2HeadlessPictureCount(void* hdc);

#ifdef __cplusplus
}
#endif

#endif
