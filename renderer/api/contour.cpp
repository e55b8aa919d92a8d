// SPDX-License-Identifier: Apache-2.0
#include "render/context/render_context.h"
#include "render/contour/contour_sample.h"
#include "shading/call_scope.h"

#include <shader.h>

using namespace orca::render;

extern "C" {

DLLEXPORT miBoolean mi_get_contour_line(miContour_endpoint* p1, miContour_endpoint* p2) {
    // The interface hands over no state here.
    const orca::shading::CallScope* const call = orca::shading::CallScope::innermost();
    if (!call || !p1 || !p2) return miFALSE;
    RenderContext& context = renderContextOf(&call->state());
    if (context.nextContour >= context.contours.size()) {
        context.nextContour = 0;
        return miFALSE;
    }
    const ContourSegment& segment = context.contours[context.nextContour++];
    *p1 = segment.from;
    *p2 = segment.to;
    return miTRUE;
}

} // extern "C"
