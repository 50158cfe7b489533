// Watches changes with observers: a tool keeps a count of its own in step with a database, whoever changes it.
//
//     watch
#include "nyx/nyx.h"
#include "nyx_report/nyx_report_exception.h"

#include <iostream>
#include <map>
#include <string>

namespace {

/// Counts the instances of each module as they come and go.
class CELL_COUNTER final : public NYX_OBSERVER<NYX_INSTANCE> {
public:
    CELL_COUNTER() : NYX_OBSERVER<NYX_INSTANCE>(1) { set_enabled(true); }
    ~CELL_COUNTER() override { set_enabled(false); }

    void allocated(NYX_INSTANCE *instance, NYX_MODULE *) override { ++m_counts[instance->get_module()->get_name()]; }
    void deallocated(NYX_INSTANCE *instance, NYX_MODULE *) override { --m_counts[instance->get_module()->get_name()]; }

    void print(const char *when) const {
        std::cout << when << ':';
        for (const auto &[name, count] : m_counts)
            std::cout << ' ' << count << ' ' << name;
        std::cout << '\n';
    }

private:
    std::map<std::string, int> m_counts;
};

/// Tells of each connection when it is made.
class CONNECTION_LOG final : public NYX_OBSERVER<NYX_INST_PORT> {
public:
    CONNECTION_LOG() : NYX_OBSERVER<NYX_INST_PORT>(1) { set_enabled(true); }
    ~CONNECTION_LOG() override { set_enabled(false); }

    void post_connect(NYX_INST_PORT *inst_port) override {
        std::cout << "  " << inst_port->get_inst()->get_name() << '.' << inst_port->get_name() << " on "
                  << inst_port->get_net()->get_name() << '\n';
    }
};

} // namespace

int main() {
    try {
        CELL_COUNTER counter;
        NYX_DB *const db = NYX_DB::create_non_persistent(64, NYX_DB_TYPE::USER, "watched", "");
        NYX_MODULE *const buffer = NYX_MODULE::allocate(db, "BUF", 2, NYX_MODULE::TYPE::ATOM);
        NYX_PORT::allocate(buffer, "A", 0)->set_input();
        NYX_PORT::allocate(buffer, "Z", 1)->set_output();
        NYX_MODULE *const top = NYX_MODULE::allocate(db, "top", 0);
        db->set_top_module(top);

        for (int i = 0; i < 3; ++i)
            NYX_INSTANCE::allocate(top, "u", buffer, true); // u_0, u_1, u_2
        counter.print("After three");
        top->find_instance("u_1")->deallocate();
        counter.print("After one has gone");

        {
            const CONNECTION_LOG log;
            NYX_NET *const net = NYX_NET::allocate(top, "n");
            top->find_instance("u_0")->find_inst_port("Z")->connect(net);
            top->find_instance("u_2")->find_inst_port("A")->connect(net);
        }
        db->close();
    } catch (const NYX_EXCEPTION &error) {
        std::cerr << error.what() << '\n';
        return 2;
    }
    return 0;
}
