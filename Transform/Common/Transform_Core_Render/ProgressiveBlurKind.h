// What the blurs' entry can be asked for; ProgressiveBlur.h tells what each does. Any other number
// is the ramped tent blur.
#pragma once

enum ProgressiveBlurKind : int {
    kBlurKindRows = -11,
    kBlurKindColumns = -10,
    kBlurKindAlphaOnly = -2,
    kBlurKindPlain = -1,
    kBlurKindFromLine = 1,
};
