// A 32-bit RISC-V core, base set RV32I without traps, in four stages: fetch, decode, execute, write back.
//
// Both memories answer in the cycle after the address. A load's address leaves in the execute stage and its data arrive
// in write back, whence they are forwarded, so that no instruction ever waits. A branch is decided in the execute stage
// and, when taken, throws away the two instructions behind it. ECALL and EBREAK halt the core until reset.
module rv_core #(
    parameter [31:0] RESET_PC = 32'h0000_0000
) (
    input  wire        clk,
    input  wire        rst,
    output wire [31:0] ibus_addr,
    input  wire [31:0] ibus_rdata,
    output wire        dbus_valid,
    output wire [31:0] dbus_addr,
    output wire [31:0] dbus_wdata,
    output wire [3:0]  dbus_wmask,
    input  wire [31:0] dbus_rdata,
    output reg         halted
);
    // Fetch.
    reg  [31:0] pc_f;
    wire        redirect;
    wire [31:0] target;

    assign ibus_addr = pc_f;

    always @(posedge clk)
        if (rst)
            pc_f <= RESET_PC;
        else if (redirect)
            pc_f <= target;
        else if (!halted)
            pc_f <= pc_f + 32'd4;

    // Decode.
    reg  [31:0] pc_d;
    reg         valid_d;
    wire [31:0] imm_d, rs1_data_d, rs2_data_d;
    wire [4:0]  rd_d, rs1_d, rs2_d;
    wire [2:0]  funct3_d;
    wire        use_imm_d, use_pc_d, is_alu_d, subtract_d, arithmetic_d, is_lui_d, is_branch_d, is_jump_d, is_load_d,
                is_store_d, is_halt_d, writes_rd_d;
    wire        we_w;
    reg  [4:0]  rd_w;
    wire [31:0] result_w;

    always @(posedge clk) begin
        pc_d    <= pc_f;
        valid_d <= !rst && !redirect && !halted;
    end

    rv_decode decode (
        .instr(ibus_rdata), .imm(imm_d), .rd(rd_d), .rs1(rs1_d), .rs2(rs2_d), .funct3(funct3_d), .use_imm(use_imm_d),
        .use_pc(use_pc_d), .is_alu(is_alu_d), .subtract(subtract_d), .arithmetic(arithmetic_d), .is_lui(is_lui_d),
        .is_branch(is_branch_d), .is_jump(is_jump_d), .is_load(is_load_d), .is_store(is_store_d), .is_halt(is_halt_d),
        .writes_rd(writes_rd_d)
    );

    rv_regfile regfile (
        .clk(clk), .we(we_w), .rd(rd_w), .rd_data(result_w), .rs1(rs1_d), .rs2(rs2_d), .rs1_data(rs1_data_d),
        .rs2_data(rs2_data_d)
    );

    // Execute.
    reg         valid_x;
    reg  [31:0] pc_x, imm_x, rs1_data_x, rs2_data_x;
    reg  [4:0]  rd_x, rs1_x, rs2_x;
    reg  [2:0]  funct3_x;
    reg         use_imm_x, use_pc_x, is_alu_x, subtract_x, arithmetic_x, is_lui_x, is_branch_x, is_jump_x, is_load_x,
                is_store_x, is_halt_x, writes_rd_x;

    always @(posedge clk) begin
        valid_x      <= valid_d && !rst && !redirect && !halted;
        pc_x         <= pc_d;
        imm_x        <= imm_d;
        rs1_data_x   <= rs1_data_d;
        rs2_data_x   <= rs2_data_d;
        rd_x         <= rd_d;
        rs1_x        <= rs1_d;
        rs2_x        <= rs2_d;
        funct3_x     <= funct3_d;
        use_imm_x    <= use_imm_d;
        use_pc_x     <= use_pc_d;
        is_alu_x     <= is_alu_d;
        subtract_x   <= subtract_d;
        arithmetic_x <= arithmetic_d;
        is_lui_x     <= is_lui_d;
        is_branch_x  <= is_branch_d;
        is_jump_x    <= is_jump_d;
        is_load_x    <= is_load_d;
        is_store_x   <= is_store_d;
        is_halt_x    <= is_halt_d;
        writes_rd_x  <= writes_rd_d;
    end

    wire [31:0] rs1_value = we_w && rd_w == rs1_x ? result_w : rs1_data_x;
    wire [31:0] rs2_value = we_w && rd_w == rs2_x ? result_w : rs2_data_x;

    // A branch compares its registers in the arithmetic unit; where it goes, and what a load or store addresses, is the
    // sum beside it.
    wire [31:0] alu_result;
    wire        less, below, equal;

    rv_alu alu (
        .a(rs1_value), .b(use_imm_x && !is_branch_x ? imm_x : rs2_value), .op(is_alu_x ? funct3_x : 3'b000),
        .subtract(subtract_x), .arithmetic(arithmetic_x), .result(alu_result), .less(less), .below(below), .equal(equal)
    );

    wire [31:0] address = (use_pc_x ? pc_x : rs1_value) + imm_x;

    reg         taken;
    always @*
        case (funct3_x[2:1])
            2'b00:   taken = equal ^ funct3_x[0];
            2'b10:   taken = less ^ funct3_x[0];
            2'b11:   taken = below ^ funct3_x[0];
            default: taken = 1'b0;
        endcase

    assign redirect   = valid_x && (is_jump_x || (is_branch_x && taken));
    assign target     = {address[31:1], 1'b0};
    assign dbus_valid = valid_x && (is_load_x || is_store_x);
    assign dbus_addr  = address;

    wire [3:0]  store_mask;
    reg  [2:0]  load_size_w;
    reg  [1:0]  load_lane_w;
    wire [31:0] load_data_w;

    assign dbus_wmask = is_store_x ? store_mask : 4'b0000;

    rv_align align (
        .store_size(funct3_x), .store_lane(address[1:0]), .store_data(rs2_value), .bus_wdata(dbus_wdata),
        .bus_wmask(store_mask), .load_size(load_size_w), .load_lane(load_lane_w), .bus_rdata(dbus_rdata),
        .load_data(load_data_w)
    );

    // Write back.
    reg         valid_w, is_load_w, writes_rd_w;
    reg  [31:0] value_w;

    always @(posedge clk) begin
        valid_w     <= valid_x && !rst && !halted;
        is_load_w   <= is_load_x;
        writes_rd_w <= writes_rd_x;
        rd_w        <= rd_x;
        load_size_w <= funct3_x;
        load_lane_w <= address[1:0];
        value_w     <= is_lui_x ? imm_x : is_jump_x ? pc_x + 32'd4 : use_pc_x ? address : alu_result;
        halted      <= !rst && (halted || (valid_x && is_halt_x));
    end

    assign we_w     = valid_w && writes_rd_w;
    assign result_w = is_load_w ? load_data_w : value_w;
endmodule
