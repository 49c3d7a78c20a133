// vpuserdatainsert: puts messages into pictures.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "elements/Element.h"
#include "userdata/Clocks.h"
#include "userdata/InsertSchedule.h"
#include "userdata/Inserter.h"
#include "userdata/MessageQueue.h"

#include <gst/base/gstbasetransform.h>
#include <mutex>
#include <string>

namespace gstvp {

enum InsertProperty : guint
{
    InsertPropertyText = 1,
    InsertPropertyData,
    InsertPropertyTimestamp,
    InsertPropertyWhere,
    InsertPropertyInterval,
    InsertPropertyMaxQueued
};

struct InsertSettings
{
    std::optional<std::string> text;
    std::optional<Payload> data;
    StampSource timestamp = StampSourceNone;
    InsertWhere where = InsertWhereEvery;
    guint intervalMilliseconds = 1000;
};

class CInsertElement : public CElement
{
public:
    explicit CInsertElement(GstBaseTransform* ownerElement) : owner(ownerElement) {}

    void SetProperty(guint id, const GValue* value) override;
    void GetProperty(guint id, GValue* value) override;
    void Start() override {}
    bool Begin(const CodecRules& codecRules) override;
    GstBuffer* Take(GstBuffer* buffer) override;
    void Flush() override;
    void Stop() override;

    // Queues a message for the next picture, from any thread. False: the queue is full, or the
    // message is longer than 32 bits can count.
    [[nodiscard]] bool Push(GBytes* bytes);

private:
    InsertSettings Settings();
    std::vector<Payload> CarriedMessages(const CAccessUnitHead& head, GstBuffer* buffer);
    void AddOwnMessages(const CAccessUnitHead& head, GstBuffer* buffer, std::vector<Payload>& messages);

    GstBaseTransform* const owner;
    std::mutex mutex;  // of the settings
    InsertSettings settings;
    CMessageQueue queue;

    const CodecRules* rules = nullptr;
    CInserter inserter;
    CInsertSchedule schedule;
};

}  // namespace gstvp
