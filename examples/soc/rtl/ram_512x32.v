// A memory macro of 512 words with two ports, which answers in the cycle after the address. The netlist has it as a
// black box; simulations use this model.
module ram_512x32 (
    input  wire        clk,
    input  wire [8:0]  a_addr,
    output reg  [31:0] a_rdata,
    input  wire        b_en,
    input  wire [8:0]  b_addr,
    input  wire [31:0] b_wdata,
    input  wire [3:0]  b_wmask,
    output reg  [31:0] b_rdata
);
`ifndef SYNTHESIS
    reg [31:0] words [0:511];
    integer    lane;

    always @(posedge clk) begin
        a_rdata <= words[a_addr];
        if (b_en) begin
            b_rdata <= words[b_addr];
            for (lane = 0; lane < 4; lane = lane + 1)
                if (b_wmask[lane])
                    words[b_addr][8 * lane +: 8] <= b_wdata[8 * lane +: 8];
        end
    end
`endif
endmodule
