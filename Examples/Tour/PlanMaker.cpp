#include "PlanFile.hpp"

#include <cstdio>

namespace Tour {

using namespace QV;

namespace {

constexpr UInt32 materialCount = 8;
constexpr UInt32 layerCount = 16;

UniString MakeName(const char* what, UInt32 number)
{
    char text[40];
    std::snprintf(text, sizeof(text), "%s %u", what, number);
    return UniString(text);
}

class PlanMaker {
public:
    PlanMaker()
    {
        document_.plan = document_.objects.Make<Plan>();
        document_.plan->name = u"Rath\u00E4user \u2013 \u5E02\u5F79\u6240";
        for (UInt32 i = 0; i < materialCount; ++i) {
            Material* const material = Append(document_.plan->materials);
            material->name = MakeName("material", i);
            material->id = Guid(i + 1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11});
            material->color = 0x102030 * i;
            material->density = 500 + 250.5 * i;
        }
        for (UInt32 i = 0; i < layerCount; ++i) {
            Layer* const layer = Append(document_.plan->layers);
            layer->name = MakeName("layer", i);
            layer->isVisible = i % 3 != 0;
        }
    }

    /// Four walls in a ring, an opening and a label for each, and a label for the whole plan.
    void AddRoom(UInt32 number)
    {
        Wall* walls[4];
        for (UInt32 i = 0; i < 4; ++i) {
            walls[i] = MakeWall(number, i);
        }
        for (UInt32 i = 0; i < 4; ++i) {
            walls[i]->next = walls[(i + 1) % 4];
        }
        PlanObject* const whole = document_.plan;
        MakeLabel(number, whole);
    }

    PlanDocument Finish() { return static_cast<PlanDocument&&>(document_); }

private:
    template <class T>
    T* Append(Array<T*>& list)
    {
        T* const object = document_.objects.Make<T>();
        list.Append(object);
        return object;
    }

    Wall* MakeWall(UInt32 room, UInt32 side)
    {
        Wall* const wall = document_.objects.Make<Wall>();
        wall->layer = document_.plan->layers[room % layerCount];
        wall->material = document_.plan->materials[(room + side) % materialCount];
        for (UInt32 i = 0; i < 4; ++i) {
            wall->ends[i] = room * 5.25 + (side + i) % 4 * 1.5;
        }
        wall->height = 2.25 + room % 4 * 0.25;
        Opening* const opening = Append(wall->openings);
        opening->wall = wall;
        opening->offset = side * 0.1;
        opening->kind = static_cast<UInt8>(room % 5);
        document_.plan->items.Append(wall);
        MakeLabel(room, side % 2 == 0 ? static_cast<PlanObject*>(wall) : opening);
        return wall;
    }

    void MakeLabel(UInt32 room, PlanObject* target)
    {
        Label* const label = document_.objects.Make<Label>();
        label->text = MakeName("room", room);
        label->target = target;
        label->layer = document_.plan->layers[(room + 1) % layerCount];
        label->size = 8 + room % 3;
        document_.plan->items.Append(label);
    }

    PlanDocument document_;
};

} // namespace

PlanDocument MakePlan(UInt32 rooms)
{
    PlanMaker maker;
    for (UInt32 i = 0; i < rooms; ++i) {
        maker.AddRoom(i);
    }
    return maker.Finish();
}

} // namespace Tour
