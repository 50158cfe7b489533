// Runs a program on the system, reads what it sends, and ends with PASS or FAIL. The program adds up 1 to 10 in a loop,
// stores and reloads the sum through all widths, and sends "55\n" when it is right.
`timescale 1ns / 1ns
module soc_tb;
    reg  clk = 0, rst = 1;
    wire tx, irq, halted;

    soc #(.DIVISOR(4)) dut (.clk(clk), .rst(rst), .uart_rx(1'b1), .uart_tx(tx), .timer_irq(irq), .halted(halted));

    always #5 clk = ~clk;

    integer i;
    initial begin
        for (i = 0; i < 512; i = i + 1)
            dut.ram.words[i] = 32'h00000013;
        i = 0;
        `define W(x) begin dut.ram.words[i] = 32'h``x; i = i + 1; end
        `W(00a00093) // li x1, 10
        `W(00000113) // li x2, 0
        `W(00110133) // loop: add x2, x2, x1
        `W(fff08093) // addi x1, x1, -1
        `W(fe009ce3) // bnez x1, loop
        `W(40202023) // sw x2, 1024(x0)
        `W(40004183) // lbu x3, 1024(x0)
        `W(40301323) // sh x3, 1030(x0)
        `W(40402203) // lw x4, 1028(x0)
        `W(41025213) // srai x4, x4, 16
        `W(02221c63) // bne x4, x2, bad
        `W(00000293) // li x5, 0
        `W(00a00313) // li x6, 10
        `W(00626863) // digits: bltu x4, x6, send
        `W(40620233) // sub x4, x4, x6
        `W(00128293) // addi x5, x5, 1
        `W(ff5ff06f) // j digits
        `W(100003b7) // send: lui x7, 0x10000
        `W(03028513) // addi x10, x5, '0'
        `W(018000ef) // jal x1, put
        `W(03020513) // addi x10, x4, '0'
        `W(010000ef) // jal x1, put
        `W(00a00513) // li x10, '\n'
        `W(008000ef) // jal x1, put
        `W(00100073) // bad: ebreak
        `W(0043a403) // put: lw x8, 4(x7)
        `W(00147413) // andi x8, x8, 1
        `W(fe041ce3) // bnez x8, put
        `W(00a3a023) // sw x10, 0(x7)
        `W(00008067) // jalr x0, 0(x1)
        repeat (4) @(posedge clk);
        rst = 0;
        repeat (4000) @(posedge clk);
        $display("FAIL: no end after 4000 cycles");
        $finish;
    end

    // The receiver of the test bench: samples the middle of each bit.
    reg [7:0] got, text [0:7];
    integer   count = 0, b;
    initial forever begin
        @(negedge tx);
        repeat (2) @(posedge clk);
        for (b = 0; b < 8; b = b + 1) begin
            repeat (4) @(posedge clk);
            got[b] = tx;
        end
        repeat (4) @(posedge clk);
        text[count] = got;
        count = count + 1;
    end

    always @(posedge clk)
        if (halted === 1'b1) begin
            repeat (60) @(posedge clk);
            if (count == 3 && text[0] == "5" && text[1] == "5" && text[2] == "\n")
                $display("PASS: %s%s", text[0], text[1]);
            else
                $display("FAIL: %0d bytes, %h %h %h", count, text[0], text[1], text[2]);
            $finish;
        end
endmodule
