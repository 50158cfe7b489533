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

class SILENT_SINK final : public NYX_REPORT::SINK {
public:
    void write(NYX_REPORT::SEVERITY, std::string_view) override {}
};

// A saved image, with the places in it that a change is worth.
struct BASE {
    NYX_DB_TYPE type;
    std::string image;
    std::vector<std::uint32_t> blocks; ///< offsets of the allocated ones' content
};

std::string s_path;
std::vector<BASE> s_bases;

std::string payload_of(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    const NYX_DB_FILE_STATS header = nyx_read_file_header(file, path);
    std::string payload(header.payload_size, '\0');
    file.read(payload.data(), static_cast<std::streamsize>(payload.size()));
    return payload;
}

// Something of everything in a netlist, with values and gaps, so that a change lands in each of its tables. It is
// sound: what verify() finds is due to a change.
void fill(NYX_DB *db) {
    const unsigned char bytes[] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    auto *const notes = NYX_NET::create_app_trait(db, "notes", NYX_APP_DATA(), "", "", "");
    auto *const text = NYX_MODULE::create_string_trait(db, "text", "default", "", "", "text_i");
    NYX_MODULE *const leaf = NYX_MODULE::allocate(db, "leaf", 1);
    NYX_PORT::allocate(leaf, "a", 0);
    for (int i = 0; i < 6; ++i) {
        const std::string number = std::to_string(i);
        NYX_MODULE *const module = NYX_MODULE::allocate(db, "m" + number, 3);
        module->set_value(text, "text " + number);
        NYX_PORT *const port = NYX_PORT::allocate(module, "a", 0);
        NYX_PORT_BUS *const bus = NYX_PORT_BUS::allocate(module, "b", 1, 0);
        bus->set_port(0, NYX_PORT::allocate(module, "b0", 1));
        NYX_INTERFACE *const interface = NYX_INTERFACE::allocate(module, "i");
        interface->add_port(port);
        interface->add_port_bus(bus);
        NYX_NET_BUS::allocate(module, "nb", 3, 0);
        std::vector<NYX_NET *> nets;
        for (int net = 0; net < 20; ++net) {
            nets.push_back(NYX_NET::allocate(module, "net[" + std::to_string(net) + "]"));
            nets.back()->set_property("weight", net);
            nets.back()->set_property("text", std::string("text"));
            nets.back()->set_property("bytes", NYX_APP_DATA(sizeof(bytes), bytes));
            nets.back()->set_value(notes, NYX_APP_DATA(sizeof(bytes), bytes));
        }
        for (std::size_t net = 0; net < nets.size(); net += 3)
            nets[net]->deallocate();
        NYX_INSTANCE::allocate(module, "u", leaf);
    }
}

// Reads what the netlist of a sound database says of itself, by the members that everybody has.
void walk(NYX_DB *db) {
    std::ostringstream out;
    NYX_NET::output_all_sparse_traits(out, db, true);
    for (NYX_MODULE *const module : db->iter_modules()) {
        out << module->get_name();
        module->output_sparse_traits(out, true, true);
        for (NYX_PORT *const port : module->iter_ports())
            if (port->get_parent() != nullptr)
                out << port->get_name();
        for (NYX_NET *const net : module->iter_nets()) {
            out << net->get_name();
            net->output_sparse_traits(out, true, true);
            for (const auto &[name, value] : net->iter_properties())
                out << name << value.which();
        }
        for (NYX_INSTANCE *const instance : module->iter_instances())
            out << instance->get_name();
        for (NYX_PORT_BUS *const bus : module->iter_port_buses())
            out << bus->get_name();
        for (NYX_NET_BUS *const bus : module->iter_net_buses())
            out << bus->get_name();
        for (NYX_INTERFACE *const interface : module->iter_interfaces())
            out << interface->get_name();
    }
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
        db->get_internal_stats();
        walk(db);
        if (mode == NYX_DB::ACCESS_MODE::MODIFY) {
            NYX_DB_PERSISTENT *const root = NYX_DB_IMPL::of(*db).m_persistent;
            root->names().get_id("a new name");
            root->table<NYX_NET>().allocate();
            root->table<NYX_MODULE>().allocate();
        }
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
