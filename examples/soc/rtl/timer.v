// A counter of 64 bits that is compared with a limit. Words: 0 and 1 the count, 2 and 3 the limit.
module timer (
    input  wire        clk,
    input  wire        rst,
    input  wire        en,
    input  wire        we,
    input  wire [1:0]  word,
    input  wire [31:0] wdata,
    output reg  [31:0] rdata,
    output reg         irq
);
    reg [63:0] count, limit;

    always @(posedge clk) begin
        if (rst) begin
            count <= 64'd0;
            limit <= ~64'd0;
        end else begin
            count <= count + 64'd1;
            if (en && we)
                case (word)
                    2'd0: count[31:0]  <= wdata;
                    2'd1: count[63:32] <= wdata;
                    2'd2: limit[31:0]  <= wdata;
                    2'd3: limit[63:32] <= wdata;
                endcase
        end
        irq <= !rst && count >= limit;
        if (en)
            case (word)
                2'd0: rdata <= count[31:0];
                2'd1: rdata <= count[63:32];
                2'd2: rdata <= limit[31:0];
                2'd3: rdata <= limit[63:32];
            endcase
    end
endmodule
