/* A C host: the OS layer and port headers compile as C and their functions link. */
#include <stdio.h>
#include <zpport/BorderData.h>
#include <zpport/OSLayer.h>
#include <zpport/ZpParam.h>
#include <zpport/ZpPortTW.h>

static void* Work(void* arg) {
    *(int*)arg = 42;
    return NULL;
}

int main(void) {
    int value = 0;
    OS_THREAD t = OS_ThreadCreate(Work, &value, 0);
    if (t == NULL || OS_ThreadWait(t, OS_INFINITE) != 0 || OS_ThreadDestroy(t) != 0 || value != 42) {
        fprintf(stderr, "consumer.c: worker failed\n");
        return 1;
    }
    if (OS_SemWait(NULL, 0) != 0) return 1;
    if (sizeof(BORDER_DATA) != 1024 || ZPP_NONE != 131) return 1;
    if (sizeof(_ZP_ENUMITEMEX) != 1004) return 1;
    if (PoLinkDeinit() != 0 || PoClose(NULL) != 2) return 1;
    printf("consumer.c: ok\n");
    return 0;
}
