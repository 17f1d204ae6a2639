#include "io/LoadedGeometry.h"

#include "Vantor/Geometry.h"

#include <utility>

namespace Stratum::io {

namespace {

template <class T>
void add(Vantor::Object& object, const Ostrum::String& name, const Ostrum::String& component,
         Ostrum::Array<T> values) {
    object.setProperty(name, component, Ostrum::makePtr<Ostrum::Array<T>>(std::move(values)));
}

} // namespace

void addArrays(Vantor::Object& object, GeometryArrays arrays) {
    using namespace Vantor::Geometry;
    object.addComponent(sPointComp, arrays.positions.size());
    add(object, sPointPosition, sPointComp, std::move(arrays.positions));
    if (!arrays.faceOffset.empty()) {
        object.addComponent(sFaceComp, arrays.faceOffset.size() - 1);
        object.addComponent(sFaceVertexComp, arrays.faceVertex.size());
        add(object, sFaceOffset, sFaceComp, std::move(arrays.faceOffset));
        add(object, sFaceVertex, sFaceVertexComp, std::move(arrays.faceVertex));
    }
    if (!arrays.strandOffset.empty()) {
        object.addComponent(sStrandComp, arrays.strandOffset.size() - 1);
        add(object, sStrandOffset, sStrandComp, std::move(arrays.strandOffset));
    }
}

} // namespace Stratum::io
