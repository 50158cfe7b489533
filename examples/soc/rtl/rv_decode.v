// Control signals of one instruction of the RV32I base set.
module rv_decode (
    input  wire [31:0] instr,
    output reg  [31:0] imm,
    output wire [4:0]  rd,
    output wire [4:0]  rs1,
    output wire [4:0]  rs2,
    output wire [2:0]  funct3,
    output wire        use_imm,    // the second operand is the immediate
    output wire        use_pc,     // the first operand is the instruction's address
    output wire        is_alu,     // funct3 chooses the operation; all else adds
    output wire        subtract,
    output wire        arithmetic,
    output wire        is_lui,
    output wire        is_branch,
    output wire        is_jump,
    output wire        is_load,
    output wire        is_store,
    output wire        is_halt,
    output wire        writes_rd
);
    wire [4:0] opcode = instr[6:2];

    localparam LOAD = 5'b00000, OP_IMM = 5'b00100, AUIPC = 5'b00101, STORE = 5'b01000, OP = 5'b01100,
               LUI = 5'b01101, BRANCH = 5'b11000, JALR = 5'b11001, JAL = 5'b11011, SYSTEM = 5'b11100;

    assign rd     = instr[11:7];
    assign funct3 = instr[14:12];
    assign rs1    = instr[19:15];
    assign rs2    = instr[24:20];

    assign is_lui     = opcode == LUI;
    assign is_branch  = opcode == BRANCH;
    assign is_jump    = opcode == JAL || opcode == JALR;
    assign is_load    = opcode == LOAD;
    assign is_store   = opcode == STORE;
    assign is_halt    = opcode == SYSTEM;
    assign is_alu     = opcode == OP || opcode == OP_IMM;
    assign use_imm    = opcode != OP;
    assign use_pc     = opcode == AUIPC || opcode == JAL || is_branch;
    assign subtract   = opcode == OP && funct3 == 3'b000 && instr[30];
    assign arithmetic = instr[30];
    assign writes_rd  = rd != 5'd0 && !is_branch && !is_store && !is_halt && instr[1:0] == 2'b11;

    always @* begin
        case (opcode)
            LUI, AUIPC: imm = {instr[31:12], 12'b0};
            JAL:        imm = {{12{instr[31]}}, instr[19:12], instr[20], instr[30:21], 1'b0};
            BRANCH:     imm = {{20{instr[31]}}, instr[7], instr[30:25], instr[11:8], 1'b0};
            STORE:      imm = {{21{instr[31]}}, instr[30:25], instr[11:7]};
            default:    imm = {{21{instr[31]}}, instr[30:20]};
        endcase
    end
endmodule
