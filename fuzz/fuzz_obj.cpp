// fuzz_obj.cpp - reads a model that is anything at all with examples/model_viewer.
#include "fuzz.h"
#include "obj_file.h"

#include <cmath>
#include <sstream>

extern "C" int LLVMFuzzerTestOneInput(const UINT8* bytes, size_t size)
{
    Model model;
    std::istringstream file(std::string(reinterpret_cast<const char*>(bytes), size));
    if (!model.read(file).empty())
        return 0;
    check(!model.corners.empty() && model.corners.size() % 3 == 0);
    for (const UINT32 corner : model.corners)
        check(corner < model.vertices.size());
    model.fit();
    for (const Model::Vertex& vertex : model.vertices)
        for (int axis = 0; axis < 3; ++axis) // what is drawn becomes fixed point
            check(std::fabs(vertex.position[axis]) < 1.01f && std::fabs(vertex.normal[axis]) < 1.01f);
    return 0;
}
