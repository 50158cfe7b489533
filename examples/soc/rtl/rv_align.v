// Bytes and half-words on a bus of 32 bits: stores are spread to their lanes, loads are picked from theirs.
module rv_align (
    input  wire [2:0]  store_size,
    input  wire [1:0]  store_lane,
    input  wire [31:0] store_data,
    output reg  [31:0] bus_wdata,
    output reg  [3:0]  bus_wmask,
    input  wire [2:0]  load_size,
    input  wire [1:0]  load_lane,
    input  wire [31:0] bus_rdata,
    output reg  [31:0] load_data
);
    wire [31:0] moved = bus_rdata >> {load_lane, 3'b000};

    always @* begin
        case (store_size[1:0])
            2'b00: begin
                bus_wdata = {4{store_data[7:0]}};
                bus_wmask = 4'b0001 << store_lane;
            end
            2'b01: begin
                bus_wdata = {2{store_data[15:0]}};
                bus_wmask = store_lane[1] ? 4'b1100 : 4'b0011;
            end
            default: begin
                bus_wdata = store_data;
                bus_wmask = 4'b1111;
            end
        endcase
        case (load_size)
            3'b000:  load_data = {{24{moved[7]}}, moved[7:0]};
            3'b001:  load_data = {{16{moved[15]}}, moved[15:0]};
            3'b100:  load_data = {24'b0, moved[7:0]};
            3'b101:  load_data = {16'b0, moved[15:0]};
            default: load_data = bus_rdata;
        endcase
    end
endmodule
