// The system: a core, 2 KiB of RAM for instructions and data, a UART and a timer.
module soc #(
    parameter DIVISOR = 16
) (
    input  wire clk,
    input  wire rst,
    input  wire uart_rx,
    output wire uart_tx,
    output wire timer_irq,
    output wire halted
);
    wire [31:0] ibus_addr, ibus_rdata, dbus_addr, dbus_wdata, dbus_rdata, ram_rdata, uart_rdata, timer_rdata;
    wire [3:0]  dbus_wmask;
    wire        dbus_valid, ram_en, uart_en, timer_en;

    rv_core core (
        .clk(clk), .rst(rst), .ibus_addr(ibus_addr), .ibus_rdata(ibus_rdata), .dbus_valid(dbus_valid),
        .dbus_addr(dbus_addr), .dbus_wdata(dbus_wdata), .dbus_wmask(dbus_wmask), .dbus_rdata(dbus_rdata),
        .halted(halted)
    );

    interconnect bus (
        .clk(clk), .valid(dbus_valid), .addr(dbus_addr), .rdata(dbus_rdata), .ram_en(ram_en), .ram_rdata(ram_rdata),
        .uart_en(uart_en), .uart_rdata(uart_rdata), .timer_en(timer_en), .timer_rdata(timer_rdata)
    );

    ram_512x32 ram (
        .clk(clk), .a_addr(ibus_addr[10:2]), .a_rdata(ibus_rdata), .b_en(ram_en), .b_addr(dbus_addr[10:2]),
        .b_wdata(dbus_wdata), .b_wmask(dbus_wmask), .b_rdata(ram_rdata)
    );

    uart #(.DIVISOR(DIVISOR)) uart (
        .clk(clk), .rst(rst), .en(uart_en), .we(|dbus_wmask), .word(dbus_addr[2]), .wdata(dbus_wdata),
        .rdata(uart_rdata), .rx(uart_rx), .tx(uart_tx)
    );

    timer timer (
        .clk(clk), .rst(rst), .en(timer_en), .we(|dbus_wmask), .word(dbus_addr[3:2]), .wdata(dbus_wdata),
        .rdata(timer_rdata), .irq(timer_irq)
    );
endmodule
