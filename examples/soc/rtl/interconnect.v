// One master, three slaves: bits 31 to 28 of the address choose 0 the RAM, 1 the UART, 2 the timer. Reads answer in the
// next cycle, so the choice is kept for it.
module interconnect (
    input  wire        clk,
    input  wire        valid,
    input  wire [31:0] addr,
    output reg  [31:0] rdata,
    output wire        ram_en,
    input  wire [31:0] ram_rdata,
    output wire        uart_en,
    input  wire [31:0] uart_rdata,
    output wire        timer_en,
    input  wire [31:0] timer_rdata
);
    reg [1:0] chosen;

    assign ram_en   = valid && addr[31:28] == 4'd0;
    assign uart_en  = valid && addr[31:28] == 4'd1;
    assign timer_en = valid && addr[31:28] == 4'd2;

    always @(posedge clk)
        if (valid)
            chosen <= addr[29:28];

    always @*
        case (chosen)
            2'd0:    rdata = ram_rdata;
            2'd1:    rdata = uart_rdata;
            2'd2:    rdata = timer_rdata;
            default: rdata = 32'b0;
        endcase
endmodule
