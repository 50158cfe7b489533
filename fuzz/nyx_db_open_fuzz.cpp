// Opens database files whose image was changed, verifies what opens, and walks all of it that the verification found
// sound. An input is a list of changes to the image of a database that the target has made itself, so that each lands
// where it means something:
//
//     byte 0        which database, and in which mode it is opened
//     then, each    1 byte: what is changed, where, and to what; 3 bytes: number of the place; 8 bytes: the value
#include "database/nyx_db_impl.h"
#include "file/nyx_file_header.h"
#include "netlist/nyx_module_table.h"
#include "netlist/nyx_net_table.h"
#include "nyx/nyx.h"
#include "nyx_report/nyx_report_exception.h"
#include "silent_sink.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

// A saved image, with the places in it that a change is worth.
struct BASE {
    NYX_DB_TYPE type;
    std::string image;
    std::vector<std::uint32_t> blocks; ///< offsets of the allocated ones' content
};

std::string s_path;
std::vector<BASE> s_bases;
std::ostream s_ignored(nullptr);

std::string payload_of(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    const NYX_DB_FILE_STATS header = nyx_read_file_header(file, path);
    std::string payload(header.payload_size, '\0');
    file.read(payload.data(), static_cast<std::streamsize>(payload.size()));
    return payload;
}

// A design that has some of everything.
void fill(NYX_DB *db) {
    NYX_MODULE *const cell = NYX_MODULE::allocate(db, "CELL", 3, NYX_MODULE::TYPE::ATOM);
    for (unsigned i = 0; i < 3; ++i)
        NYX_PORT::allocate(cell, std::string(1, static_cast<char>('A' + i)), i)->set_input();
    NYX_MODULE *const top = NYX_MODULE::allocate(db, "top", 9);
    NYX_PORT_BUS *const port_bus = NYX_PORT_BUS::allocate(top, "data", 7, 0);
    NYX_NET_BUS *const net_bus = NYX_NET_BUS::allocate(top, "wires", 7, 0);
    NYX_INTERFACE *const interface = NYX_INTERFACE::allocate(top, "link");
    for (unsigned i = 0; i < 8; ++i) {
        const std::string index = "[" + std::to_string(i) + "]";
        NYX_NET *const net = NYX_NET::allocate(top, "wires" + index);
        net_bus->set_net(static_cast<int>(i), net);
        NYX_PORT *const port = NYX_PORT::allocate(top, "data" + index, i, net);
        port_bus->set_port(static_cast<int>(i), port);
    }
    interface->add_port(NYX_PORT::allocate(top, "clk", 8));
    interface->add_port_bus(port_bus);
    NYX_INSTANCE_BUS *const instance_bus = NYX_INSTANCE_BUS::allocate(top, "cells", 0, 3);
    std::vector<NYX_NET *> nets(net_bus->iter_nets().begin(), net_bus->iter_nets().end());
    auto *const weight = NYX_NET::create_int_trait(db, "weight", 1, "g", "d", "");
    auto *const delay = NYX_INSTANCE::create_double_trait(db, "delay", 0, "g", "d", "");
    auto *const note = NYX_INSTANCE::create_string_trait(db, "note", "", "g", "d", "");
    auto *const blob = NYX_INSTANCE::create_app_trait(db, "blob", NYX_APP_DATA(), "g", "d", "");
    auto *const flag = NYX_INST_PORT::create_bool_trait(db, "flag", false, "g", "d", "");
    // A library of definitions has none.
    const unsigned num_instances = db->is_definition() ? 0 : 100;
    for (unsigned i = 0; i < num_instances; ++i) {
        NYX_INSTANCE *const instance = NYX_INSTANCE::allocate(top, "u" + std::to_string(i), cell);
        if (i < 4)
            instance_bus->set_instance(static_cast<int>(i), instance);
        for (unsigned pin = 0; pin < 3; ++pin) {
            NYX_INST_PORT *const inst_port = instance->get_inst_port_by_index(pin);
            inst_port->connect(nets[(i * 3 + pin) % nets.size()]);
            inst_port->set_value(flag, i % 3 == pin);
        }
        instance->set_value(delay, i * 0.5);
        instance->set_value(note, "note " + std::to_string(i % 7));
        const std::string bytes(i % 9, 'b');
        instance->set_value(blob, NYX_APP_DATA(i % 9, reinterpret_cast<const unsigned char *>(bytes.data())));
        instance->set_property("size", static_cast<int>(i));
        instance->set_property("kind", std::string("text"));
        if (i % 5 == 4)
            instance->deallocate();
    }
    for (NYX_NET *const net : nets)
        net->set_value(weight, 7);
    top->set_value(NYX_MODULE::create_string_trait(db, "text", "default", "", "", "text_i"), "words");
    top->set_src_location("top.v", 12);
    for (unsigned i = 0; i < 30; ++i)
        nets.push_back(NYX_NET::allocate(top, "loose" + std::to_string(i)));
    for (std::size_t i = 8; i < nets.size(); i += 3)
        nets[i]->deallocate();
}

void add_base(NYX_DB_TYPE type, bool filled) {
    NYX_DB *const db = NYX_DB::create_non_persistent(16, type, "", "");
    if (filled)
        fill(db);
    NYX_FILE_OPTIONS options;
    options.durable = false;
    NYX_DB_IMPL::of(*db).m_file->commit_impl(s_path, NYX_COMPRESSION::NONE, 0, 1, options);
    BASE base{type, payload_of(s_path), {}};
    nyx_get_algorithm(NYX_DB_IMPL::of(*db).m_file->get_segment_manager())->for_each_block([&](const auto &block) {
        if (block.offset + block.units * 8 < base.image.size())
            base.blocks.push_back(static_cast<std::uint32_t>(block.offset + 16));
    });
    db->close();
    s_bases.push_back(std::move(base));
}

// Applies one change; one that would leave the image does nothing.
void change(std::string &image, const BASE &base, const std::uint8_t *edit) {
    const unsigned kind = edit[0];
    const std::uint32_t number = edit[1] | edit[2] << 8 | edit[3] << 16;
    std::uint64_t value;
    std::memcpy(&value, edit + 4, sizeof(value));
    const std::size_t num_blocks = base.blocks.size();
    std::size_t place = 0;
    switch (kind & 3) {
    case 0: // a word of the control area
        place = number % 21 * 8;
        break;
    case 1: // a header of a block
        place = base.blocks[number % num_blocks] - 16 + (number & 1) * 8;
        break;
    case 2: // a word at the start of a block
        place = base.blocks[number % num_blocks] + number / num_blocks % 70 * 8;
        break;
    default: // any word
        place = number * 4 % image.size();
        break;
    }
    if (place + 8 > image.size())
        return;
    std::uint64_t word;
    std::memcpy(&word, image.data() + place, sizeof(word));
    switch (kind >> 2 & 7) {
    case 0:
        word = value;
        break;
    case 1:
        word ^= std::uint64_t(1) << value % 64;
        break;
    case 2:
        word += static_cast<std::uint64_t>(static_cast<std::int8_t>(value)) * 8;
        break;
    case 3: // a link to a block
        word = base.blocks[value % num_blocks] - place;
        break;
    case 4: // a link to a block's inside
        word = base.blocks[value % num_blocks] + (value >> 32) % 64 * 8 - place;
        break;
    case 5: // another word of the image
        std::memcpy(&word, image.data() + value * 8 % (image.size() - 8), sizeof(word));
        break;
    case 6:
        word = (word & ~std::uint64_t(0xFFFFFFFF)) | (value & 0xFFFFFFFF);
        break;
    default:
        word = (word & 0xFFFFFFFF) | value << 32;
        break;
    }
    std::memcpy(image.data() + place, &word, sizeof(word));
}

template <class T>
void look_at(T *object) {
    static_cast<void>(object->get_name());
    for (const auto &property : object->iter_properties())
        static_cast<void>(property);
    object->output_sparse_traits(s_ignored, false, true);
}

void walk(NYX_DB *db) {
    db->get_internal_stats();
    for (NYX_MODULE *const module : db->iter_modules()) {
        look_at(module);
        for (NYX_NET *const net : module->iter_nets()) {
            look_at(net);
            for (NYX_PORT *const port : net->iter_ports())
                static_cast<void>(port->get_parent());
            for (NYX_INST_PORT *const inst_port : net->iter_inst_ports())
                look_at(inst_port);
        }
        for (NYX_INSTANCE *const instance : module->iter_instances()) {
            look_at(instance);
            static_cast<void>(instance->get_module());
            for (NYX_INST_PORT *const inst_port : instance->iter_inst_ports())
                static_cast<void>(inst_port->is_valid() ? inst_port->get_port() : nullptr);
        }
        for (NYX_PORT *const port : module->iter_ports())
            if (port->get_parent() != nullptr)
                look_at(port);
        for (NYX_PORT_BUS *const bus : module->iter_port_buses()) {
            look_at(bus);
            for (NYX_PORT *const port : bus->iter_ports())
                static_cast<void>(port);
        }
        for (NYX_NET_BUS *const bus : module->iter_net_buses()) {
            look_at(bus);
            for (NYX_NET *const net : bus->iter_nets())
                static_cast<void>(net);
        }
        for (NYX_INSTANCE_BUS *const bus : module->iter_instance_buses()) {
            look_at(bus);
            for (NYX_INSTANCE *const instance : bus->iter_instances())
                static_cast<void>(instance);
        }
        for (NYX_INTERFACE *const interface : module->iter_interfaces()) {
            look_at(interface);
            for (NYX_PORT *const port : interface->iter_ports())
                static_cast<void>(port->get_parent());
        }
    }
}

// Changes a design that verify() found sound: all of it goes, and something new comes.
void modify(NYX_DB *db) {
    NYX_MODULE *const added = NYX_MODULE::allocate(db, "a new module", 2);
    NYX_PORT::allocate(added, "p", 0, NYX_NET::allocate(added, "n"));
    std::vector<NYX_MODULE *> modules(db->iter_modules().begin(), db->iter_modules().end());
    for (NYX_MODULE *const module : modules) {
        while (!module->iter_instances().empty())
            module->iter_instances().front()->deallocate();
        while (!module->iter_net_buses().empty())
            module->iter_net_buses().front()->deallocate();
        while (!module->iter_nets().empty())
            module->iter_nets().front()->deallocate();
    }
}

void open(const BASE &base, const std::string &image, NYX_DB::ACCESS_MODE mode) {
    std::ostringstream out;
    NYX_DB_FILE_STATS header;
    header.version = s_nyx_file_version;
    header.type = base.type;
    header.schema_id = NYX_DB::get_schema_id(base.type, nullptr);
    header.default_size = 1 << 24;
    header.data_size = header.payload_size = image.size();
    const NYX_POSTAMBLE_POS position = nyx_write_file_header(out, header, s_path);
    nyx_write_file_postamble(out, position, header, s_path);
    {
        std::ofstream file(s_path, std::ios::binary | std::ios::trunc);
        const std::string head = out.str();
        file.write(head.data(), static_cast<std::streamsize>(head.size()));
        file.write(image.data(), static_cast<std::streamsize>(image.size()));
    }
    NYX_DB *db = nullptr;
    try {
        db = NYX_DB::open(s_path.c_str(), mode);
    } catch (const NYX_DATABASE_CORRUPTED_EXCEPTION &) {
        return;
    } catch (const NYX_RUNTIME_ERROR &) {
        // It refers to a database that there is not, and is open all the same.
        db = *NYX_DB::iter_open_dbs().begin();
    }
    db->disable_commit_on_close();
    if (db->verify().empty()) {
        walk(db);
        if (mode == NYX_DB::ACCESS_MODE::MODIFY)
            modify(db);
    }
    db->close();
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    NYX_REPORT::set_sink(std::make_shared<SILENT_SINK>());
    const fs::path memory = "/dev/shm";
    std::string name = ((fs::exists(memory) ? memory : fs::temp_directory_path()) / "nyx_db_open_fuzz_XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr)
        std::abort();
    s_path = name + "/a.nyx";
    for (const NYX_DB_TYPE type :
         {NYX_DB_TYPE::DEVICE, NYX_DB_TYPE::USER, NYX_DB_TYPE::COMPONENT, NYX_DB_TYPE::DEFINITION})
        for (const bool filled : {false, true})
            add_base(type, filled);
    std::atexit([] {
        std::error_code ignored;
        fs::remove_all(fs::path(s_path).parent_path(), ignored);
    });
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    constexpr std::size_t edit_bytes = 12;
    if (size == 0 || size > 1 + 40 * edit_bytes)
        return 0;
    const BASE &base = s_bases[(data[0] >> 1) % s_bases.size()];
    std::string image = base.image;
    for (std::size_t at = 1; at + edit_bytes <= size; at += edit_bytes)
        change(image, base, data + at);
    open(base, image, data[0] & 1 ? NYX_DB::ACCESS_MODE::MODIFY : NYX_DB::ACCESS_MODE::READ_ONLY);
    return 0;
}
