// Arithmetic and logic of the execute stage. The difference serves subtraction and both orders of comparison.
module rv_alu (
    input  wire [31:0] a,
    input  wire [31:0] b,
    input  wire [2:0]  op,         // funct3 of the instruction
    input  wire        subtract,   // the difference instead of the sum
    input  wire        arithmetic, // a right shift that keeps the sign
    output reg  [31:0] result,
    output wire        less,       // a < b as signed numbers
    output wire        below,      // a < b as unsigned numbers
    output wire        equal
);
    wire [31:0] sum  = a + b;
    wire [31:0] diff = a - b;

    assign below = a[31] ^ b[31] ? b[31] : diff[31];
    assign less  = a[31] ^ b[31] ? a[31] : diff[31];
    assign equal = a == b;

    // A left shift is a right shift of the mirrored word.
    function [31:0] mirror(input [31:0] word);
        integer i;
        for (i = 0; i < 32; i = i + 1)
            mirror[i] = word[31 - i];
    endfunction

    wire        left    = op == 3'b001;
    wire [31:0] shifted = $signed({arithmetic & a[31], left ? mirror(a) : a}) >>> b[4:0];

    always @* begin
        case (op)
            3'b000:  result = subtract ? diff : sum;
            3'b001:  result = mirror(shifted);
            3'b010:  result = {31'b0, less};
            3'b011:  result = {31'b0, below};
            3'b100:  result = a ^ b;
            3'b101:  result = shifted;
            3'b110:  result = a | b;
            default: result = a & b;
        endcase
    end
endmodule
