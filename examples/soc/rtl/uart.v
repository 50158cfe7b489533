// A UART of 8 bits without parity. Word 0: write to send, read the byte received last. Word 1: bit 0 sending, bit 1 a byte
// has come; reading word 0 clears it.
module uart #(
    parameter DIVISOR = 16 // clock cycles a bit
) (
    input  wire        clk,
    input  wire        rst,
    input  wire        en,
    input  wire        we,
    input  wire        word,
    input  wire [31:0] wdata,
    output reg  [31:0] rdata,
    input  wire        rx,
    output wire        tx
);
    wire       busy, came;
    wire [7:0] byte_in;
    reg        full;

    uart_tx #(.DIVISOR(DIVISOR)) sender (
        .clk(clk), .rst(rst), .start(en && we && !word), .data(wdata[7:0]), .busy(busy), .tx(tx)
    );
    uart_rx #(.DIVISOR(DIVISOR)) receiver (.clk(clk), .rst(rst), .rx(rx), .data(byte_in), .came(came));

    always @(posedge clk) begin
        if (rst)
            full <= 1'b0;
        else if (came)
            full <= 1'b1;
        else if (en && !we && !word)
            full <= 1'b0;
        if (en)
            rdata <= word ? {30'b0, full, busy} : {24'b0, byte_in};
    end
endmodule

module uart_tx #(
    parameter DIVISOR = 16
) (
    input  wire       clk,
    input  wire       rst,
    input  wire       start,
    input  wire [7:0] data,
    output wire       busy,
    output wire       tx
);
    reg [15:0] wait_count;
    reg [3:0]  bits_left;
    reg [8:0]  shift;

    assign busy = bits_left != 4'd0;
    assign tx   = shift[0];

    always @(posedge clk)
        if (rst) begin
            wait_count <= 16'd0;
            bits_left  <= 4'd0;
            shift      <= 9'h1ff;
        end else if (!busy) begin
            if (start) begin
                shift      <= {data, 1'b0};
                bits_left  <= 4'd10;
                wait_count <= DIVISOR - 1;
            end
        end else if (wait_count != 16'd0)
            wait_count <= wait_count - 16'd1;
        else begin
            wait_count <= DIVISOR - 1;
            bits_left  <= bits_left - 4'd1;
            shift      <= {1'b1, shift[8:1]};
        end
endmodule

module uart_rx #(
    parameter DIVISOR = 16
) (
    input  wire       clk,
    input  wire       rst,
    input  wire       rx,
    output reg  [7:0] data,
    output reg        came
);
    reg [1:0]  sync;
    reg [15:0] wait_count;
    reg [3:0]  bits_left;
    reg [8:0]  shift;

    always @(posedge clk) begin
        sync <= {sync[0], rx};
        came <= 1'b0;
        if (rst)
            bits_left <= 4'd0;
        else if (bits_left == 4'd0) begin
            if (!sync[1]) begin
                bits_left  <= 4'd10;
                wait_count <= DIVISOR / 2;
            end
        end else if (wait_count != 16'd0)
            wait_count <= wait_count - 16'd1;
        else begin
            wait_count <= DIVISOR - 1;
            bits_left  <= bits_left - 4'd1;
            shift      <= {sync[1], shift[8:1]};
            if (bits_left == 4'd1) begin
                came <= 1'b1;
                data <= shift[8:1];
            end
        end
    end
endmodule
