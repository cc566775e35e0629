/**
 * @file    kppPlot.h
 * @brief   kpp::Data::Plot: the sensor platform's kPlot, a set of named display items.
 */
#ifndef KPP_DATA_PLOT_H
#define KPP_DATA_PLOT_H

#include <kSolan/kpp/Common/kppObject.h>

namespace kpp::Data
{
class kEXPORT_ATTR Plot : public Object
{
public:
    Plot();
    ~Plot() override;

    /** True for a kPlot: the only class this wrapper holds. */
    static bool Accepts(kObject handle);

    /**
     * Drops the current object and co-owns handle.
     * @return kOK; kSTATUS_BAD_PARAMETER (-997) for an object that is not a kPlot (the wrapper
     *         is then empty). A null handle is accepted.
     */
    kStatus Attach(void* handle);
    kStatus Attach(const Object& other);

    /** Constructs an empty plot (world: the unit square). The wrapper must be empty. */
    kStatus Init(Allocator& alloc);
    kStatus Init(void* alloc);

    /**
     * Adds a new share of item's object under name; the plot owns that share. The item keeps
     * its own reference either way: on failure the share is dropped again.
     *
     * @return kOK; kSTATUS_BAD_PARAMETER for a null name or an empty item; kSTATUS_MEMORY.
     */
    kStatus Add(const char* name, Object& item);

    /** World rectangle from (x0, y0), drawn at the top left, to (x1, y1) at the bottom right. */
    kStatus SetWorld(float x0, float y0, float x1, float y1);
};
} // namespace kpp::Data

#endif
