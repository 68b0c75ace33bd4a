/* libjpeg error manager that longjmps on fatal errors and stays silent. */
#include "jpeg_error.h"

static void JumpOut(j_common_ptr cinfo) {
    VellumError* error = (VellumError*)cinfo->err;
    longjmp(error->escape, 1);
}

static void Silent(j_common_ptr cinfo) {
    (void)cinfo;
}

struct jpeg_error_mgr* VellumErrorInit(VellumError* error) {
    struct jpeg_error_mgr* base = jpeg_std_error(&error->base);
    base->error_exit = JumpOut;
    base->output_message = Silent;
    return base;
}
