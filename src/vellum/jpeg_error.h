/* Error handling shared by the encoder and decoder paths: libjpeg's fatal errors jump back to
 * the caller instead of ending the process, and no message is printed. */
#ifndef VELLUM_JPEG_ERROR_H
#define VELLUM_JPEG_ERROR_H

#include <setjmp.h>
#include <stdio.h>
/* jpeglib.h needs FILE and size_t declared first. */
#include <jpeglib.h>

typedef struct {
    struct jpeg_error_mgr base; /* first, so that cinfo->err points at the whole record */
    jmp_buf escape;
} VellumError;

/* Prepares the record; returns the pointer to store in cinfo->err. Warnings are counted in
 * base.num_warnings. */
struct jpeg_error_mgr* VellumErrorInit(VellumError* error);

#endif /* VELLUM_JPEG_ERROR_H */
