// SPDX-License-Identifier: Apache-2.0
#include "scene/elements/instance_element.h"

namespace orca::scene {

InstanceElement::InstanceElement() : Element(miSCENE_INSTANCE) {
    clearTransform();
    mi_matrix_ident(motionTransform.data());
    mi_matrix_ident(instance.motion_transform);
}

void InstanceElement::clearTransform() {
    mi_matrix_ident(transform.data());
    mi_matrix_ident(instance.tf.global_to_local);
    mi_matrix_ident(instance.tf.local_to_global);
    instance.tf.identity = miTRUE;
}

bool InstanceElement::setTransform(const Matrix& parentToLocal) {
    Matrix inverse;
    if (!mi_matrix_invert(inverse.data(), parentToLocal.data())) {
        clearTransform();
        return false;
    }
    transform = parentToLocal;
    mi_matrix_copy(instance.tf.global_to_local, parentToLocal.data());
    mi_matrix_copy(instance.tf.local_to_global, inverse.data());
    instance.tf.identity = mi_matrix_isident(parentToLocal.data());
    return true;
}

} // namespace orca::scene
