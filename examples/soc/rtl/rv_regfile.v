// 31 registers and a zero. A register that is written in this cycle is read with its new value.
module rv_regfile (
    input  wire        clk,
    input  wire        we,
    input  wire [4:0]  rd,
    input  wire [31:0] rd_data,
    input  wire [4:0]  rs1,
    input  wire [4:0]  rs2,
    output wire [31:0] rs1_data,
    output wire [31:0] rs2_data
);
    reg [31:0] regs [0:31];

    always @(posedge clk)
        if (we)
            regs[rd] <= rd_data;

    assign rs1_data = rs1 == 5'd0 ? 32'b0 : we && rd == rs1 ? rd_data : regs[rs1];
    assign rs2_data = rs2 == 5'd0 ? 32'b0 : we && rd == rs2 ? rd_data : regs[rs2];
endmodule
