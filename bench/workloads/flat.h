#ifndef NYX_BENCH_FLAT_H
#define NYX_BENCH_FLAT_H

/// \file
/// The flat netlist: one module with N instances of four leaf cells, each with one net on its output and its inputs on
/// nets of earlier instances that a linear congruential generator picks. All other netlist databases can build the same
/// one, bit for bit.

#include <cstdint>
#include <vector>

class NYX_DB;
class NYX_INSTANCE;
class NYX_MODULE;
class NYX_NET;

/// 64-bit LCG; a number is its upper 31 bits.
class FLAT_RANDOM {
public:
    std::uint64_t next() {
        m_state = m_state * 6364136223846793005u + 1442695040888963407u;
        return m_state >> 33;
    }

private:
    std::uint64_t m_state = 1;
};

struct FLAT {
    NYX_MODULE *top = nullptr;
    std::vector<NYX_INSTANCE *> instances;
    std::vector<NYX_NET *> nets; ///< by the instance that drives it
};

/// Builds the netlist with `num_instances` instances, more than 64, in an empty database and sets its top module,
/// "top".
///
/// Leaf cells AND2(A,B;Z), XOR2(A,B;Z), MUX2(A,B,S;Z), DFF(D,C;Q). Ports clk, in_0..63, out_0..63. Instance u_<i> is of
/// leaf i mod 4 and has net n_<i> on its output. An input of instance i takes net n_<r mod i> for i > 64, else the net
/// of in_<i mod 64>; DFF.C takes clk. out_<k> is on n_<N-64+k>.
FLAT build_flat(NYX_DB *db, unsigned num_instances);

/// Walks every connection of every net; gives the number of those that are inputs of instances.
std::uint64_t walk_flat(NYX_MODULE *top);

/// Looks `num_finds` instances up by names that the generator picks; gives how many were found.
std::uint64_t find_flat(NYX_MODULE *top, unsigned num_instances, unsigned num_finds);

/// Disconnects the first input of a picked instance and connects it to a picked net, `num_edits` times.
void edit_flat(FLAT &flat, unsigned num_edits);

#endif
