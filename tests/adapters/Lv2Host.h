#pragma once

#include <gtest/gtest.h>
#include <lilv/lilv.h>

#include <array>
#include <memory>
#include <string>

// A host of the built LV2 bundle alone. Ports: the parameters by their indices, then input, output and sweep.
class Lv2 : public testing::Test
{
protected:
    static constexpr unsigned kInput = 7, kOutput = 8, kSweep = 9;

    Lv2() { lilv_world_load_bundle(world.get(), node("file://" WAIL_LV2 "/").get()); }

    std::shared_ptr<LilvNode> node(const std::string& uri) const
    {
        return {lilv_new_uri(world.get(), uri.c_str()), lilv_node_free};
    }
    const LilvPlugin* plugin() const
    {
        return lilv_plugins_get_by_uri(lilv_world_get_all_plugins(world.get()), node("urn:korva:wail").get());
    }
    std::shared_ptr<LilvInstance> instance(double rate) const  // null if the plug-in refuses
    {
        LilvInstance* const made = lilv_plugin_instantiate(plugin(), rate, nullptr);
        return made == nullptr ? nullptr : std::shared_ptr<LilvInstance>(made, lilv_instance_free);
    }
    static void run(LilvInstance* instance, const float* input, float* output, std::size_t frames)
    {
        lilv_instance_connect_port(instance, kInput, const_cast<float*>(input));
        lilv_instance_connect_port(instance, kOutput, output);
        lilv_instance_run(instance, static_cast<std::uint32_t>(frames));
    }

    const std::shared_ptr<LilvWorld> world{lilv_world_new(), lilv_world_free};
};
