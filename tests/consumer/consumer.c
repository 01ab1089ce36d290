/* A host written in C: wraps its own pixels in headers, converts them to
 * grey and checks the result. Built against the installed package. */
#include <stdio.h>

#include <YewWpfWrap.h>

int main(void) {
    uint8_t bgr[2 * 3] = {10, 20, 30, 255, 255, 255};
    uint8_t gray[2] = {0, 0};
    oxImage* src = oxImageCreateHeader(2, 1, OX_BGR);
    oxImage* dst = oxImageCreateHeader(2, 1, OX_GRAY);
    int32_t status;
    if (!src || !dst) return 1;
    src->data = bgr;
    dst->data = gray;
    status = oxImageCvtColor(src, dst);
    oxImageReleaseHeader(&src);
    oxImageReleaseHeader(&dst);
    if (status != 0 || gray[0] != 22 || gray[1] != 255 || src != NULL) {
        fprintf(stderr, "unexpected result: status %d, grey %d %d\n", (int)status, gray[0], gray[1]);
        return 1;
    }
    printf("grey of (10, 20, 30) is %d\n", gray[0]);
    return 0;
}
